// The key by which clients know this server over SSH.
#pragma once

#include <filesystem>

namespace qnips
{

// Makes an Ed25519 key in the file, for its owner alone, if there is none. Throws std::runtime_error when that fails,
// for a key that is there and that others than its owner can read, and for a file that holds no key or one with a
// passphrase.
void ensure_host_key(const std::filesystem::path& file);

} // namespace qnips
