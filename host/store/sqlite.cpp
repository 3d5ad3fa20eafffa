#include "store/sqlite.h"

#include <sqlite3.h>

#include <cerrno>
#include <new>
#include <utility>

namespace qnips
{

namespace
{

constexpr int busy_milliseconds = 5000;

StoreError::Kind kind_of_errno(int error, StoreError::Kind otherwise)
{
    switch (error) {
    case ENOSPC:
    case EFBIG:
    case EDQUOT:
        return StoreError::Kind::full;
    case EACCES:
    case EPERM:
    case EROFS:
        return StoreError::Kind::read_only;
    default:
        return otherwise;
    }
}

// `system_error` is the errno behind it, 0 for none.
StoreError::Kind kind_of(int code, int system_error)
{
    switch (code & 0xff) {
    case SQLITE_FULL:
        return StoreError::Kind::full;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return StoreError::Kind::in_use;
    case SQLITE_READONLY:
    case SQLITE_PERM:
        return StoreError::Kind::read_only;
    // Our statements are fixed: one that is an error, or breaks a constraint, meets tables that are not ours.
    case SQLITE_ERROR:
    case SQLITE_CONSTRAINT:
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return StoreError::Kind::corrupt;
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
        return kind_of_errno(system_error, StoreError::Kind::io);
    default:
        return StoreError::Kind::io;
    }
}

// A file name as a URI, which is the only way to say that a file does not change.
std::string uri_of(const std::string& file)
{
    std::string uri = "file:";
    for (const char c : file) {
        if (c == '%')
            uri += "%25";
        else if (c == '?')
            uri += "%3f";
        else if (c == '#')
            uri += "%23";
        else
            uri += c;
    }
    return uri + "?immutable=1";
}

int flags_of(Database::Access access)
{
    switch (access) {
    case Database::Access::create:
        return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    case Database::Access::read_write:
        return SQLITE_OPEN_READWRITE;
    case Database::Access::read_only:
        return SQLITE_OPEN_READONLY;
    case Database::Access::unchanging:
        return SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
    }
    return SQLITE_OPEN_READONLY;
}

} // namespace

Database::Database(std::string file, Access access) : file_(std::move(file))
{
    const std::string name = access == Access::unchanging ? uri_of(file_) : file_;
    sqlite3* handle = nullptr;
    errno = 0;
    const int code = sqlite3_open_v2(name.c_str(), &handle, flags_of(access) | SQLITE_OPEN_NOMUTEX, nullptr);
    handle_.reset(handle); // an open that has failed leaves a handle as well
    if (code != SQLITE_OK)
        fail(code, "opening it");
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, busy_milliseconds);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

void Database::Close::operator()(sqlite3* handle) const noexcept
{
    sqlite3_close_v2(handle);
}

std::optional<std::array<unsigned char, Database::header_size>> Database::header() const
{
    sqlite3_file* file = nullptr;
    const int code = sqlite3_file_control(handle(), "main", SQLITE_FCNTL_FILE_POINTER, static_cast<void*>(&file));
    if (code != SQLITE_OK || file == nullptr || file->pMethods == nullptr)
        fail(code == SQLITE_OK ? SQLITE_MISUSE : code, "reading its header");
    std::array<unsigned char, header_size> bytes{};
    const int read = file->pMethods->xRead(file, bytes.data(), static_cast<int>(bytes.size()), 0);
    if (read == SQLITE_IOERR_SHORT_READ)
        return std::nullopt;
    if (read != SQLITE_OK)
        fail(read, "reading its header");
    return bytes;
}

void Database::execute(const std::string& sql, std::string_view action) const
{
    errno = 0;
    const int code = sqlite3_exec(handle(), sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        fail(code, action);
}

bool Database::is_read_only() const
{
    return sqlite3_db_readonly(handle(), "main") != 0;
}

void Database::empty_log_at_closing() const
{
    sqlite3_db_config(handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    int on = 1;
    const int code = sqlite3_file_control(handle(), "main", SQLITE_FCNTL_PERSIST_WAL, &on);
    if (code != SQLITE_OK)
        fail(code, "opening it for writing");
}

bool Database::in_transaction() const
{
    return sqlite3_get_autocommit(handle()) == 0;
}

void Database::fail(int code, std::string_view action) const
{
    // sqlite3_system_errno would be the proper question, but it does not know the error of a commit.
    const int system_error = errno;
    if ((code & 0xff) == SQLITE_NOMEM)
        throw std::bad_alloc();
    const StoreError::Kind kind = kind_of(code, system_error);
    std::string text = file_ + ": " + std::string(action) + ": " + sqlite3_errstr(code);
    const std::string_view detail = handle_ ? sqlite3_errmsg(handle()) : "";
    if (handle_ && sqlite3_extended_errcode(handle()) == code && detail != sqlite3_errstr(code))
        text += " (" + std::string(detail) + ")";
    const bool is_system_error = (code & 0xff) == SQLITE_IOERR || (code & 0xff) == SQLITE_CANTOPEN;
    if (is_system_error && system_error != 0)
        text += " (" + std::generic_category().message(system_error) + ")";
    throw StoreError(kind, text);
}

Statement::Statement(const Database& database, std::string_view sql, std::string_view action)
    : database_(&database), action_(action)
{
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v3(database.handle(), sql.data(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &handle, nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK)
        database.fail(code, action_);
}

void Statement::Finalize::operator()(sqlite3_stmt* handle) const noexcept
{
    sqlite3_finalize(handle);
}

void Statement::bind(int parameter, std::int64_t value)
{
    const int code = sqlite3_bind_int64(handle_.get(), parameter, value);
    if (code != SQLITE_OK)
        database_->fail(code, action_);
}

void Statement::bind(int parameter, std::string_view value)
{
    const char* data = value.data() == nullptr ? "" : value.data(); // a null pointer would be NULL
    const int code = sqlite3_bind_text64(handle_.get(), parameter, data, value.size(), SQLITE_STATIC, SQLITE_UTF8);
    if (code != SQLITE_OK)
        database_->fail(code, action_);
}

Rows::~Rows()
{
    sqlite3_reset(statement_.handle_.get());
    sqlite3_clear_bindings(statement_.handle_.get()); // the texts may go now
}

bool Rows::next()
{
    errno = 0;
    const int code = sqlite3_step(statement_.handle_.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        statement_.database_->fail(code, statement_.action_);
    return code == SQLITE_ROW;
}

std::int64_t Rows::integer(int column) const
{
    return sqlite3_column_int64(statement_.handle_.get(), column);
}

std::string_view Rows::view(int column) const
{
    sqlite3_stmt* handle = statement_.handle_.get();
    const void* data = sqlite3_column_text(handle, column);
    const int size = sqlite3_column_bytes(handle, column);
    if (data == nullptr || size <= 0)
        return {};
    return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
}

Transaction::Transaction(const Database& database, std::string_view action, Purpose purpose)
    : database_(database), action_(action)
{
    // SQLite itself would say so at the first change only.
    if (purpose == Purpose::write && database_.is_read_only())
        database_.fail(SQLITE_READONLY, action_);
    database_.execute(purpose == Purpose::write ? "BEGIN IMMEDIATE" : "BEGIN", action_);
}

Transaction::~Transaction()
{
    // Some errors have ended the transaction already. Taking it back writes nothing that could fail: it drops the
    // pages.
    if (database_.in_transaction())
        sqlite3_exec(database_.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit()
{
    database_.execute("COMMIT", action_);
}

} // namespace qnips
