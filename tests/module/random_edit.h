// Random edits: a usual one with other texts, other operations and other elements around its changed node. The same
// seed makes the same edits on every machine.
#pragma once

#include <cstddef>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <libxml/tree.h>

namespace qnips::test
{

class Random
{
public:
    explicit Random(unsigned seed) : engine_(seed) {}

    // 0 to `end` - 1. The standard's distributions differ from one library to the next.
    std::size_t below(std::size_t end) { return engine_() % end; }

    bool once_in(std::size_t times) { return below(times) == 0; }

    template <class Values>
    const auto& one_of(const Values& values)
    {
        return values[below(values.size())];
    }

private:
    std::mt19937 engine_;
};

// What an edit of a node is made of.
struct EditWords {
    std::vector<std::string> beside;                       // elements that may stand beside the changed node
    std::vector<std::string> inside;                       // and in it
    std::map<std::string, std::vector<std::string>> texts; // acceptable ones, by the leaf's name
};

// Adds the texts of all leaves of an edit to `words`.
void learn_texts(EditWords& words, const std::string& xml);

// Changes the edit around and in its changed node. Some edits stay close to the usual one, so that handlers get far;
// others differ all over. The changed node and its ancestors stay.
void change_edit(xmlNode* changed, const EditWords& words, Random& random);

// The whole edit as text.
std::string edit_text(const xmlNode* node);

// An operation of any of the eight bits: `bits` counts from 0 to 255.
int operation_of_bits(std::size_t bits);

} // namespace qnips::test
