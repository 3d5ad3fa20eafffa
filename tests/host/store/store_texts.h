// Everything that a store says, as one text: stores with the same text hold the same.
#pragma once

#include <optional>
#include <string>

#include "store/commit_store.h"

namespace qnips
{

std::string text_of(const CommitStore& store);

// Commits an edit with everything that follows from its id, so that a record can be told to be right. Returns the id.
std::int64_t commit_sample(CommitStore& store);
std::string sample_edit(std::int64_t id);
CommitRecord sample_record(std::int64_t id); // but for its time

// The kind of the StoreError that an action ends with; nullopt when it ends with none.
template <typename Action>
std::optional<StoreError::Kind> kind_of_failure(Action&& action)
{
    try {
        action();
    } catch (const StoreError& error) {
        return error.kind();
    }
    return std::nullopt;
}

// The text of that StoreError; empty when there is none.
template <typename Action>
std::string text_of_failure(Action&& action)
{
    try {
        action();
    } catch (const StoreError& error) {
        return error.what();
    }
    return {};
}

} // namespace qnips
