#include "server/expression_reach.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace qnips
{

namespace
{

bool is_name_start(char c)
{
    return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_';
}

bool is_name_char(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '-' || c == '.';
}

template <std::size_t count>
bool is_one_of(std::string_view word, const std::array<std::string_view, count>& words)
{
    return std::find(words.begin(), words.end(), word) != words.end();
}

constexpr std::array<std::string_view, 4> upward_axes = {"parent", "ancestor", "ancestor-or-self", "self"};
constexpr std::array<std::string_view, 2> reaching_functions = {"node", "deref"};

// Reads the tokens of XPath 1.0, 3.7. Whether '*' multiplies or stands for any name, whether '/' goes on with a path or
// starts one, and whether a name is an operator, depends on what stands before it.
class Scanner
{
public:
    explicit Scanner(std::string_view text) : text_(text) {}

    ExpressionReach scan()
    {
        while (at_ < text_.size() && reach_.unbounded.empty())
            token();
        return std::move(reach_);
    }

private:
    void token()
    {
        const char c = text_[at_];
        if (std::isspace(static_cast<unsigned char>(c)) != 0)
            ++at_;
        else if (c == '"' || c == '\'')
            literal(c);
        else if (is_name_start(c))
            name();
        else if (c == '/')
            slash();
        else if (c == '*')
            star();
        else
            symbol(c);
    }

    void literal(char quote)
    {
        const std::size_t end = text_.find(quote, at_ + 1);
        at_ = end == std::string_view::npos ? text_.size() : end + 1;
        after_operand_ = true;
    }

    void name()
    {
        std::string_view word = qualified_name();
        if (after_operand_) { // and, or, div, mod
            after_operand_ = false;
            return;
        }
        skip_space();
        if (text_.substr(at_).starts_with("::")) {
            at_ += 2;
            upward_ = is_one_of(word, upward_axes);
            if (!upward_ && word != "child")
                reach_.unbounded = std::string(word).append("::");
            return;
        }
        if (text_.substr(at_).starts_with('(')) {
            if (is_one_of(word, reaching_functions))
                reach_.unbounded = std::string(word).append("()");
            return;
        }
        if (!upward_)
            reach_.child_steps.emplace_back(word);
        upward_ = false;
        after_operand_ = true;
    }

    std::string_view qualified_name()
    {
        std::string_view word = plain_name();
        const bool prefixed = at_ + 1 < text_.size() && text_[at_] == ':' && is_name_start(text_[at_ + 1]);
        if (!prefixed)
            return word;
        ++at_;
        return plain_name();
    }

    std::string_view plain_name()
    {
        const std::size_t start = at_;
        while (at_ < text_.size() && is_name_char(text_[at_]))
            ++at_;
        return text_.substr(start, at_ - start);
    }

    void slash()
    {
        if (!after_operand_)
            reach_.unbounded = "an absolute path";
        else if (text_.substr(at_).starts_with("//"))
            reach_.unbounded = "the descendants //";
        ++at_;
        after_operand_ = false;
    }

    void star()
    {
        if (!after_operand_)
            reach_.unbounded = "the wildcard *";
        ++at_;
        after_operand_ = false;
    }

    void symbol(char c)
    {
        const bool operand = c == '.' || c == ')' || c == ']' || std::isdigit(static_cast<unsigned char>(c)) != 0;
        ++at_;
        after_operand_ = operand;
    }

    void skip_space()
    {
        while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_])) != 0)
            ++at_;
    }

    std::string_view text_;
    std::size_t at_ = 0;
    bool after_operand_ = false;
    bool upward_ = false; // the axis before the next name
    ExpressionReach reach_;
};

} // namespace

ExpressionReach reach_of(std::string_view expression)
{
    return Scanner(expression).scan();
}

} // namespace qnips
