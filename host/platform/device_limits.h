// How many entries the lists of a device hold. A device refuses the command that would add one more.
#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace qnips
{

struct ListLimit {
    std::string_view holder; // the node that the entries are below
    std::string_view entry;  // what an entry is called
    std::string_view title;  // what users call the entries
    std::size_t most = 0;
};

class DeviceLimits
{
public:
    // Those of a large device.
    DeviceLimits();

    // A device with room for `most` entries in each list.
    static DeviceLimits of_all(std::size_t most);

    // Valid as long as these limits, so not to be asked of a temporary.
    [[nodiscard]] std::span<const ListLimit> lists() const& { return lists_; }
    std::span<const ListLimit> lists() && = delete;

    // Null when there is no limit but that of the entries' names: of a list of severities, say.
    [[nodiscard]] const ListLimit* find(std::string_view holder, std::string_view entry) const;

    // Throws std::out_of_range when the device has no such list.
    void set(std::string_view holder, std::string_view entry, std::size_t most);

private:
    std::vector<ListLimit> lists_;
};

// What an entry too many fails with.
class ListFull : public std::runtime_error
{
public:
    explicit ListFull(const ListLimit& limit);
};

} // namespace qnips
