// Where the console's lines come from: a terminal with editing, history and completion, or any other input as it is.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/console_completion.h"

namespace qnips::cli
{

// Whether both standard input and standard output are a terminal, without which there is nothing to edit.
bool is_on_terminal();

class LineEditor
{
public:
    // Called with what stands before the cursor when the user presses Tab.
    using Completer = std::function<Completion(std::string_view line)>;

    // Reads standard input without prompts.
    LineEditor();

    // Edits lines on the terminal. The history is kept in the file, in memory only when its name is empty. Throws
    // std::runtime_error when the file is no history or cannot be written.
    LineEditor(Completer completer, std::filesystem::path history);

    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    // The next line without its end; nothing at the end of the input. On a terminal Ctrl-C drops what has been typed
    // and starts again.
    std::optional<std::string> read(const std::string& prompt);

private:
    class Terminal;
    std::unique_ptr<Terminal> terminal_; // null: standard input is read as it is
};

} // namespace qnips::cli
