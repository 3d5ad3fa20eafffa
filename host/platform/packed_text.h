// Texts and numbers in a row, as one text that gives them back to the byte. A number is written as "12;", a text behind
// its size as "5;hello".
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qnips
{

class TextPacker
{
public:
    void add(std::size_t number) { packed_ += std::to_string(number) + ';'; }
    void add(std::string_view text)
    {
        add(text.size());
        packed_ += text;
    }

    [[nodiscard]] const std::string& packed() const { return packed_; }

private:
    std::string packed_;
};

// Each call takes the next of them. It throws std::invalid_argument when there is none, or not of this kind.
class TextUnpacker
{
public:
    explicit TextUnpacker(std::string_view packed) : rest_(packed) {}

    std::size_t number();
    std::string text();
    [[nodiscard]] bool is_at_end() const { return rest_.empty(); }

private:
    std::string_view rest_;
};

} // namespace qnips
