// A thin hand on SQLite: a database, statements that are prepared once, the rows of their answers, transactions. All
// errors are StoreErrors that say the file, what was being done (the `action`: "adding a commit"), and SQLite's reason.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "store/store_error.h"

struct sqlite3;
struct sqlite3_stmt;

namespace qnips
{

// A handle: const says nothing about the file behind it.
class Database
{
public:
    enum class Access {
        create,     // for reading and writing, made when it is missing
        read_write, // an existing file
        read_only,  // an existing file, beside a writer or not
        unchanging, // an existing file that nobody writes; needs no other file beside it
    };

    // ":memory:" is a database in memory.
    Database(std::string file, Access access);

    // The first bytes of the file, read past all of SQLite's own steps, so that nothing has been touched yet. nullopt
    // when the file is shorter.
    static constexpr std::size_t header_size = 100;
    [[nodiscard]] std::optional<std::array<unsigned char, header_size>> header() const;

    // One or several statements without parameters.
    void execute(const std::string& sql, std::string_view action) const;

    // True when it cannot be written, whatever was asked for.
    [[nodiscard]] bool is_read_only() const;

    // From now on, closing the database empties its write-ahead log into it. Until then it is closed as it stands, so
    // that a file which is refused is not written. The emptied log and its index stay: a reader that may not write into
    // the folder needs them.
    void empty_log_at_closing() const;

    [[nodiscard]] bool in_transaction() const;
    [[nodiscard]] const std::string& file() const { return file_; }

    // Throws the StoreError of SQLite's result `code`.
    [[noreturn]] void fail(int code, std::string_view action) const;

    [[nodiscard]] sqlite3* handle() const { return handle_.get(); }

private:
    struct Close {
        void operator()(sqlite3* handle) const noexcept;
    };

    std::string file_;
    std::unique_ptr<sqlite3, Close> handle_;
};

class Statement;

// The rows of a statement's answer. The statement cannot be used for anything else before this ends.
class Rows
{
public:
    explicit Rows(Statement& statement) : statement_(statement) {}
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;
    ~Rows();

    // Goes to the next row, at first to the first one. False when there is none.
    bool next();

    // A column of the row, from 0.
    [[nodiscard]] std::int64_t integer(int column) const;
    [[nodiscard]] std::string text(int column) const { return std::string(view(column)); }
    [[nodiscard]] std::string_view view(int column) const; // until the next row

private:
    Statement& statement_;
};

// It must not outlive its database, nor move away from under its rows.
class Statement
{
public:
    Statement(const Database& database, std::string_view sql, std::string_view action);

    // Executes it. Values are integers and texts, for the parameters ?1, ?2 and so on.
    template <typename... Values>
    void run(const Values&... values)
    {
        Rows rows = query(values...);
        while (rows.next()) {
        }
    }

    // Starts it. The texts have to stay until the rows end.
    template <typename... Values>
    [[nodiscard]] Rows query(const Values&... values)
    {
        int parameter = 0;
        (bind(++parameter, values), ...);
        return Rows(*this);
    }

private:
    friend class Rows;

    struct Finalize {
        void operator()(sqlite3_stmt* handle) const noexcept;
    };

    void bind(int parameter, std::int64_t value);
    void bind(int parameter, std::string_view value);

    const Database* database_;
    std::string action_;
    std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

// A transaction that is taken back unless commit has been called.
class Transaction
{
public:
    enum class Purpose { write, read };

    Transaction(const Database& database, std::string_view action, Purpose purpose = Purpose::write);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    void commit();

private:
    const Database& database_;
    std::string action_;
};

} // namespace qnips
