// Owners of what libyang hands out.
#pragma once

#include <memory>
#include <string>

struct ly_in;
struct ly_set;

namespace qnips
{

struct LibyangDeleter {
    void operator()(char* text) const noexcept;
    void operator()(ly_in* input) const noexcept;
    void operator()(ly_set* set) const noexcept; // not what is in it
};

using TextPtr = std::unique_ptr<char, LibyangDeleter>;
using InputPtr = std::unique_ptr<ly_in, LibyangDeleter>;
using SetPtr = std::unique_ptr<ly_set, LibyangDeleter>;

// What a parser reads from this text, which must outlive it.
InputPtr input_of(const std::string& text);

} // namespace qnips
