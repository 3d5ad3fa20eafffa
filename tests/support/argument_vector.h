// The arguments of a program to be started, as execv(3) takes them.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace qnips::test
{

class ArgumentVector
{
public:
    // The program's own name comes first.
    explicit ArgumentVector(std::vector<std::string> words) : words_(std::move(words))
    {
        pointers_.reserve(words_.size() + 1);
        for (std::string& word : words_)
            pointers_.push_back(word.data());
        pointers_.push_back(nullptr);
    }
    ArgumentVector(const ArgumentVector&) = delete;
    ArgumentVector& operator=(const ArgumentVector&) = delete;
    ~ArgumentVector() = default;

    [[nodiscard]] char* const* data() const { return pointers_.data(); }

private:
    std::vector<std::string> words_;
    std::vector<char*> pointers_; // ends with a null
};

} // namespace qnips::test
