#include "host/store/damaged_file.h"

#include <cstdlib>

namespace qnips
{

namespace
{

constexpr std::size_t page_size = 4096;
constexpr std::size_t headers_size = 108;

int number_of_damages(int otherwise)
{
    const char* number = std::getenv("QN_IPS_DAMAGES");
    return number == nullptr ? otherwise : std::stoi(number);
}

} // namespace

std::string Damage::of(std::string content) const
{
    if (kind == Kind::cut)
        content.resize(place);
    else
        content.at(place) = static_cast<char>(static_cast<unsigned char>(content.at(place)) ^ mask);
    return content;
}

std::string Damage::text() const
{
    return kind == Kind::cut ? "cut to " + std::to_string(place)
                             : "byte " + std::to_string(place) + " changed by " + std::to_string(mask);
}

std::vector<Damage> damages_of(std::size_t file_size, int more, std::mt19937& random)
{
    std::vector<Damage> damages;
    for (std::size_t place = 0; place < headers_size; ++place) {
        for (const int mask : {0x01, 0x02, 0x80, 0xff})
            damages.push_back({Damage::Kind::change, place, static_cast<unsigned char>(mask)});
    }
    for (std::size_t size = 0; size < file_size; size += page_size) {
        damages.push_back({Damage::Kind::cut, size, 0});
        damages.push_back({Damage::Kind::cut, size + 1, 0});
        damages.push_back({Damage::Kind::cut, size + page_size - 1, 0});
    }
    std::uniform_int_distribution<std::size_t> places(0, file_size - 1);
    std::uniform_int_distribution<int> masks(1, 255);
    std::uniform_int_distribution<int> one_of_ten(0, 9);
    for (int number = number_of_damages(more); number > 0; --number) {
        const Damage::Kind kind = one_of_ten(random) == 0 ? Damage::Kind::cut : Damage::Kind::change;
        damages.push_back({kind, places(random), static_cast<unsigned char>(masks(random))});
    }
    return damages;
}

bool changes_version(const Damage& damage)
{
    return damage.kind == Damage::Kind::change && damage.place >= version_place && damage.place < version_place + 4;
}

} // namespace qnips
