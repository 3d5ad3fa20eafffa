// A text that several owners have and nobody copies: a pass over 10,000 entries keeps 100,000 records, and the records
// of one change have its path in common, those of one row its callback's name.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace qnips
{

class SharedText
{
public:
    SharedText() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): a text like any other
    SharedText(std::string text) : text_(std::make_shared<const std::string>(std::move(text))) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    SharedText(const char* text) : SharedText(std::string(text)) {}

    [[nodiscard]] const std::string& str() const
    {
        static const std::string none;
        return text_ != nullptr ? *text_ : none;
    }
    // NOLINTNEXTLINE(google-explicit-constructor)
    operator const std::string&() const { return str(); }
    [[nodiscard]] bool empty() const { return str().empty(); }

    friend bool operator==(const SharedText& text, std::string_view other) { return text.str() == other; }
    friend std::ostream& operator<<(std::ostream& stream, const SharedText& text) { return stream << text.str(); }

private:
    std::shared_ptr<const std::string> text_;
};

} // namespace qnips
