#include "cli/line_editor.h"

#include <fmt/format.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cwchar>
#include <iostream>
#include <span>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include <histedit.h>
#include <unistd.h>

namespace qnips::cli
{

namespace
{

constexpr int remembered_lines = 1000;
constexpr std::size_t shown_candidates = 50;

// While it lives, an interrupt does nothing: the session shall outlive a Ctrl-C in the midst of a long output.
class InterruptGuard
{
public:
    InterruptGuard() { std::signal(SIGINT, SIG_IGN); }
    ~InterruptGuard() { std::signal(SIGINT, SIG_DFL); }
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;
};

struct EditLineDeleter {
    void operator()(EditLine* editor) const noexcept { el_end(editor); }
};
struct HistoryDeleter {
    void operator()(History* lines) const noexcept { history_end(lines); }
};

void print_candidates(const std::vector<std::string>& candidates)
{
    fmt::print("\n");
    for (const std::string& candidate : std::span(candidates).first(std::min(candidates.size(), shown_candidates)))
        fmt::print("{}  ", candidate);
    if (candidates.size() > shown_candidates)
        fmt::print("and {} more", candidates.size() - shown_candidates);
    fmt::print("\n");
}

} // namespace

// The editing library with its history. It is given this object, and hands it back to its callbacks.
class LineEditor::Terminal
{
public:
    Terminal(Completer completer, std::filesystem::path file)
        : completer_(std::move(completer)), file_(std::move(file)), history_(history_init())
    {
        std::setlocale(LC_CTYPE, ""); // what is typed is in the user's encoding
        editor_.reset(el_init("qn-ips", stdin, stdout, stderr));
        if (!editor_ || !history_)
            throw std::runtime_error("the terminal cannot be used to edit lines");
        HistEvent event{};
        history(history_.get(), &event, H_SETSIZE, remembered_lines);
        history(history_.get(), &event, H_SETUNIQUE, 1); // a line that is repeated is remembered once

        EditLine* editor = editor_.get();
        el_set(editor, EL_CLIENTDATA, this);
        el_set(editor, EL_PROMPT, &Terminal::prompt);
        el_set(editor, EL_EDITOR, "emacs");
        el_set(editor, EL_HIST, history, history_.get());
        el_set(editor, EL_SIGNAL, 1);
        // Names in wide characters are kept as they are; of others the library makes copies that it never frees.
        el_wset(editor, EL_ADDFN, L"qn-complete", L"Complete the word before the cursor", &Terminal::complete);
        el_set(editor, EL_BIND, "^I", "qn-complete", nullptr);
        el_set(editor, EL_BIND, "^R", "em-inc-search-prev", nullptr);
        // Ctrl-C is a key like any other: as a signal it would be lost on its way between two reads of a line.
        el_wset(editor, EL_ADDFN, L"qn-drop", L"Drop the line", &Terminal::drop);
        el_set(editor, EL_SETTY, "-d", "-intr", nullptr);
        el_set(editor, EL_BIND, "^C", "qn-drop", nullptr);
        load_history();
    }

    std::optional<std::string> read(const std::string& prompt_text)
    {
        prompt_ = prompt_text + ' ';
        while (true) {
            is_dropped_ = false;
            // By itself the library shows the prompt first, and a Ctrl-D typed right then would be lost.
            el_set(editor_.get(), EL_PREP_TERM, 1);
            int length = 0;
            const char* text = el_gets(editor_.get(), &length);
            if (text == nullptr)
                return std::nullopt;
            if (!is_dropped_)
                return remembered({text, static_cast<std::size_t>(length)});
            fmt::print("\n");
            std::fflush(stdout);
        }
    }

private:
    static Terminal& of(EditLine* editor)
    {
        void* self = nullptr;
        el_get(editor, EL_CLIENTDATA, &self);
        return *static_cast<Terminal*>(self);
    }

    static char* prompt(EditLine* editor) { return of(editor).prompt_.data(); }

    static unsigned char complete(EditLine* editor, wint_t)
    {
        const LineInfo* line = el_line(editor);
        const std::string_view before(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
        const Completion completion = of(editor).completer_(before);
        if (!completion.insertion.empty())
            return el_insertstr(editor, completion.insertion.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
        if (completion.candidates.empty())
            return CC_ERROR;
        print_candidates(completion.candidates);
        return CC_REDISPLAY;
    }

    static unsigned char drop(EditLine* editor, wint_t)
    {
        of(editor).is_dropped_ = true;
        return CC_NEWLINE;
    }

    std::string remembered(std::string line)
    {
        while (line.ends_with('\n') || line.ends_with('\r'))
            line.pop_back();
        if (line.find_first_not_of(' ') != std::string::npos) {
            HistEvent event{};
            history(history_.get(), &event, H_ENTER, line.c_str());
            save_history();
        }
        return line;
    }

    void load_history()
    {
        if (file_.empty())
            return;
        std::error_code missing;
        const auto size = std::filesystem::file_size(file_, missing);
        HistEvent event{};
        if (!missing && size != 0 && history(history_.get(), &event, H_LOAD, file_.c_str()) < 0)
            throw std::runtime_error(fmt::format("{} is no history of the console", file_.string()));
        save_history(); // finds out now whether it can be written
    }

    void save_history()
    {
        HistEvent event{};
        if (!file_.empty() && history(history_.get(), &event, H_SAVE, file_.c_str()) < 0)
            throw std::runtime_error(fmt::format("the history in {} cannot be written", file_.string()));
    }

    Completer completer_;
    std::filesystem::path file_;
    std::string prompt_;
    bool is_dropped_ = false;
    InterruptGuard guard_;
    std::unique_ptr<History, HistoryDeleter> history_;
    std::unique_ptr<EditLine, EditLineDeleter> editor_;
};

bool is_on_terminal()
{
    return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1;
}

LineEditor::LineEditor() = default;

LineEditor::LineEditor(Completer completer, std::filesystem::path history)
    : terminal_(std::make_unique<Terminal>(std::move(completer), std::move(history)))
{
}

LineEditor::~LineEditor() = default;

std::optional<std::string> LineEditor::read(const std::string& prompt)
{
    if (terminal_)
        return terminal_->read(prompt);
    std::string line;
    if (!std::getline(std::cin, line))
        return std::nullopt;
    return line;
}

} // namespace qnips::cli
