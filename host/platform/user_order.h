// The order that a user gives to the entries of a list. Placing one entry does not cost a walk of the others.
#pragma once

#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qnips
{

class UserOrder
{
public:
    UserOrder() = default;
    explicit UserOrder(const std::vector<std::string>& keys);
    // Moving keeps the entries where they are, a copy would not.
    UserOrder(UserOrder&&) noexcept = default;
    UserOrder& operator=(UserOrder&&) noexcept = default;
    UserOrder(const UserOrder&) = delete;
    UserOrder& operator=(const UserOrder&) = delete;
    ~UserOrder() = default;

    [[nodiscard]] bool empty() const { return keys_.empty(); }
    [[nodiscard]] bool contains(std::string_view key) const { return places_.contains(key); }
    [[nodiscard]] const std::string& front() const { return keys_.front(); }
    [[nodiscard]] auto begin() const { return keys_.begin(); }
    [[nodiscard]] auto end() const { return keys_.end(); }

    // The entry that stands behind `key`; null when it is the last one or has no place.
    [[nodiscard]] const std::string* next(std::string_view key) const;

    // Gives `key` the place before `next`, or the last one if `next` has none. Wherever it stood before, it leaves.
    void place(const std::string& key, std::string_view next);
    // No error for a key without a place.
    void erase(std::string_view key);

private:
    std::list<std::string> keys_;
    std::unordered_map<std::string_view, std::list<std::string>::iterator> places_; // by the texts of the list
};

} // namespace qnips
