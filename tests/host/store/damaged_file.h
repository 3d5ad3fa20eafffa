// Files as a bad disk or a broken copy leaves them.
#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace qnips
{

// One way in which a file can be damaged.
struct Damage {
    enum class Kind { change, cut };

    Kind kind = Kind::change;
    std::size_t place = 0;  // the byte that changes, or the size that is left
    unsigned char mask = 0; // the bits that change

    [[nodiscard]] std::string of(std::string content) const;
    [[nodiscard]] std::string text() const;
};

// Every byte of a database's header and of its first page's, changed in several ways; cuts at and beside every page's
// end; and `more` random ones of both kinds. The environment variable QN_IPS_DAMAGES is another number for `more`.
std::vector<Damage> damages_of(std::size_t file_size, int more, std::mt19937& random);

// The version in a database's header stands here, four bytes long.
constexpr std::size_t version_place = 60;
bool changes_version(const Damage& damage);

} // namespace qnips
