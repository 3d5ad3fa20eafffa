// From the lines of a run to formats: the sample's values become the names of the leaves they are from.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "support/recorded_call.h"

namespace qnips::conformance
{

// A value that may stand in a line or in the name of a view.
struct NamedValue {
    std::string text;
    std::string placeholder;
};

// A command line with placeholders; `words` are what blanks separate, so a blank at the end gives an empty last one.
struct LineFormat {
    std::string vsys;
    std::string view;
    std::string view_type;
    std::vector<std::string> words;

    bool operator==(const LineFormat&) const = default;
};

// Replaces values in lines. Where a value belongs to two leaves, the word before it decides, as learnt from lines in
// which it did not: an Abbreviator is used twice, first on all lines and then on all lines again.
class Abbreviator
{
public:
    LineFormat line(const test::Line& line, const std::vector<NamedValue>& values, const std::vector<NamedValue>& keys);

private:
    std::string placeholder_for(const std::string& before, const std::vector<std::string>& candidates);

    std::map<std::string, std::string> after_; // placeholder by the word before it
};

// The words of a line.
std::vector<std::string> split(const std::string& line);

// A format as it is shown: a blank at its end is visible.
std::string shown(const std::vector<std::string>& words);

// Stands for a blank at the end of a line.
inline constexpr const char* visible_blank = "␣";

// Puts values where the placeholders stand.
std::string filled(const std::vector<std::string>& words, const std::vector<NamedValue>& values);

} // namespace qnips::conformance
