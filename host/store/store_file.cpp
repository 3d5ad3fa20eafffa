#include "store/store_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace qnips
{

namespace
{

constexpr const char* in_memory = ":memory:";
constexpr std::string_view magic("SQLite format 3\0", 16);

[[noreturn]] void fail(StoreError::Kind kind, const std::string& file, const std::string& reason)
{
    throw StoreError(kind, file + ": " + reason);
}

[[noreturn]] void fail_by_errno(const std::string& file, const std::string& action, int error)
{
    const bool is_denied = error == EACCES || error == EPERM || error == EROFS;
    fail(is_denied ? StoreError::Kind::read_only : StoreError::Kind::io, file,
         action + ": " + std::generic_category().message(error));
}

// One name for a file, however it is reached: the lock stands beside it.
std::string canonical(const std::string& file)
{
    std::error_code error;
    const std::filesystem::path path = std::filesystem::weakly_canonical(file, error);
    if (error)
        fail_by_errno(file, "opening it", error.value());
    return path.string();
}

bool exists(const std::string& file)
{
    std::error_code error;
    const auto status = std::filesystem::symlink_status(file, error);
    if (status.type() == std::filesystem::file_type::not_found)
        return false;
    if (error)
        fail_by_errno(file, "opening it", error.value());
    return true;
}

std::int32_t big_endian(const unsigned char* bytes)
{
    const std::uint32_t value = (std::uint32_t{bytes[0]} << 24U) | (std::uint32_t{bytes[1]} << 16U) |
                                (std::uint32_t{bytes[2]} << 8U) | std::uint32_t{bytes[3]};
    return static_cast<std::int32_t>(value);
}

std::int32_t integer(const Database& database, const std::string& pragma)
{
    Statement statement(database, "PRAGMA " + pragma, "reading its " + pragma);
    Rows rows = statement.query();
    return rows.next() ? static_cast<std::int32_t>(rows.integer(0)) : 0;
}

void check_version(const std::string& file, const StoreFormat& format, std::int32_t version)
{
    if (version > format.version())
        fail(StoreError::Kind::newer_version, file,
             "opening it: a " + format.name + " of version " + std::to_string(version) + ", and " +
                 std::to_string(format.version()) + " is the newest this program knows");
    if (version < 1)
        fail(StoreError::Kind::corrupt, file,
             "opening it: a " + format.name + " of version " + std::to_string(version) +
                 ", which there has never been");
}

// Before SQLite has read anything: it would take up the log of a database that is not ours.
void check_header(const Database& database, const StoreFormat& format)
{
    const auto header = database.header();
    const std::string& file = database.file();
    const auto refuse = [&](const std::string& why) {
        fail(StoreError::Kind::corrupt, file, "opening it: no " + format.name + ": " + why);
    };
    if (!header)
        return refuse("too short");
    if (!std::equal(magic.begin(), magic.end(), header->begin(),
                    [](char wanted, unsigned char byte) { return static_cast<unsigned char>(wanted) == byte; }))
        return refuse("no database");
    if (big_endian(&(*header)[68]) != format.application_id)
        return refuse("a database of another program");
    const unsigned char write_version = (*header)[18];
    const unsigned char read_version = (*header)[19];
    if (write_version != read_version || (read_version != 1 && read_version != 2))
        return refuse("its header is damaged");
    check_version(file, format, big_endian(&(*header)[60]));
}

void check_structure(const Database& database)
{
    database.execute("PRAGMA cell_size_check = ON", "checking it");
    Statement statement(database, "PRAGMA quick_check(1)", "checking it");
    Rows rows = statement.query();
    std::string finding = rows.next() ? rows.text(0) : "no answer";
    if (finding == "ok")
        return;
    std::ranges::replace(finding, '\n', ' ');
    fail(StoreError::Kind::corrupt, database.file(), "checking it: " + finding);
}

std::string definitions(const Database& database)
{
    Statement statement(database, "SELECT type, name, tbl_name, sql FROM sqlite_schema ORDER BY name",
                        "reading its tables");
    std::string text;
    for (Rows rows = statement.query(); rows.next();)
        text += rows.text(0) + ' ' + rows.text(1) + ' ' + rows.text(2) + ": " + rows.text(3) + '\n';
    return text;
}

void check_tables(const Database& database, const StoreFormat& format)
{
    Database wanted(in_memory, Database::Access::create);
    wanted.execute(format.schema, "making its tables");
    if (definitions(database) != definitions(wanted))
        fail(StoreError::Kind::corrupt, database.file(),
             "opening it: its tables are not those of a " + format.name + " of version " +
                 std::to_string(format.version()));
}

void migrate(const Database& database, const StoreFormat& format)
{
    const std::int32_t version = integer(database, "user_version");
    if (version == format.version())
        return;
    const std::string action =
        "bringing it from version " + std::to_string(version) + " to " + std::to_string(format.version());
    Transaction transaction(database, action);
    for (const char* const step : format.migrations.subspan(static_cast<std::size_t>(version) - 1))
        database.execute(step, action);
    database.execute("PRAGMA user_version = " + std::to_string(format.version()), action);
    check_tables(database, format);
    transaction.commit();
}

void sync_folder(const std::string& file)
{
    const std::string folder = std::filesystem::path(file).parent_path().string();
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0 || fsync(descriptor) != 0) {
        const int error = errno;
        if (descriptor >= 0)
            close(descriptor);
        fail_by_errno(file, "making it", error);
    }
    close(descriptor);
}

} // namespace

StoreFile::StoreFile(const std::string& file, Mode mode, const StoreFormat& format)
{
    if (file == in_memory) {
        database_.emplace(file, Database::Access::create);
        database_->execute(format.schema, "making its tables");
        return;
    }
    const std::string path = canonical(file);
    if (mode == Mode::read_write) {
        lock_.emplace(path + ".lock", path);
        if (!exists(path))
            make(path, format);
        open_for_writing(path, format);
    } else {
        open_for_reading(path, format);
    }
}

void StoreFile::make(const std::string& file, const StoreFormat& format)
{
    const std::string unfinished = file + ".new";
    const auto remove_unfinished = [&unfinished] {
        std::error_code ignored; // making it says better why it cannot be
        std::filesystem::remove(unfinished, ignored);
    };
    remove_unfinished();
    try {
        Database database(unfinished, Database::Access::create);
        database.execute("PRAGMA journal_mode = MEMORY", "making it"); // nobody goes on with an unfinished file
        Transaction transaction(database, "making it");
        database.execute(format.schema, "making it");
        database.execute("PRAGMA application_id = " + std::to_string(format.application_id) +
                             "; PRAGMA user_version = " + std::to_string(format.version()),
                         "making it");
        transaction.commit();
    } catch (...) {
        remove_unfinished();
        throw;
    }
    if (std::rename(unfinished.c_str(), file.c_str()) != 0)
        fail_by_errno(file, "making it", errno);
    sync_folder(file);
}

void StoreFile::open_for_writing(const std::string& file, const StoreFormat& format)
{
    database_.emplace(file, Database::Access::read_write);
    Database& database = *database_;
    check_header(database, format);
    if (database.is_read_only())
        fail(StoreError::Kind::read_only, file, "opening it for writing: not permitted");
    check_structure(database);
    check_version(file, format, integer(database, "user_version")); // the log may hold a newer one than the header
    // After FULL, a commit waits until the disk has its log. The log is cut down to a mebibyte whenever it starts anew.
    database.execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA journal_size_limit = 1048576",
                     "opening it for writing");
    migrate(database, format);
    check_tables(database, format);
    database.empty_log_at_closing();
}

void StoreFile::open_for_reading(const std::string& file, const StoreFormat& format)
{
    database_.emplace(file, Database::Access::read_only);
    check_header(*database_, format);
    try {
        check_structure(*database_);
    } catch (const StoreError& error) {
        // A file without its log in a folder that cannot be written: a copy, which no writer of ours works on.
        if (error.kind() == StoreError::Kind::corrupt || exists(file + "-wal"))
            throw;
        database_.emplace(file, Database::Access::unchanging);
        check_structure(*database_);
    }
    const std::int32_t version = integer(*database_, "user_version");
    check_version(file, format, version);
    if (version != format.version())
        fail(StoreError::Kind::read_only, file,
             "opening it for reading: of version " + std::to_string(version) +
                 "; opening it for writing once brings it to version " + std::to_string(format.version()));
    check_tables(*database_, format);
}

} // namespace qnips
