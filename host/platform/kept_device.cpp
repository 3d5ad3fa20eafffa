#include "platform/kept_device.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/device_dump.h"
#include "platform/packed_text.h"
#include "store/checksum.h"
#include "store/sqlite.h"
#include "store/store_file.h"
#include "transapi/netconf_error.h"

namespace qnips
{

namespace
{

// The device as it was after script `id`, 0 for none; and the scripts since then, numbered without a gap.
constexpr const char* schema = R"(
CREATE TABLE device (
    place INTEGER PRIMARY KEY CHECK (place = 0),
    id INTEGER NOT NULL,
    checksum INTEGER NOT NULL,
    dump TEXT NOT NULL
) STRICT;
CREATE TABLE scripts (
    id INTEGER PRIMARY KEY,
    checksum INTEGER NOT NULL,
    entry TEXT NOT NULL
) STRICT;
)";

constexpr std::size_t least_compacted_bytes = 64UL * 1024UL;

StoreFormat device_format()
{
    return {.name = "device store",
            .application_id = 0x71697044, // "qipD"
            .schema = schema,
            .migrations = {}};
}

// What a script in the file can be.
enum class EntryKind : std::size_t { lines, removal };

void pack(TextPacker& packer, const std::optional<std::string>& text)
{
    packer.add(std::size_t{text ? 1U : 0U});
    packer.add(text.value_or(""));
}

std::optional<std::string> unpack_optional(TextUnpacker& unpacker)
{
    const bool is_there = unpacker.number() != 0;
    std::string text = unpacker.text();
    return is_there ? std::optional(std::move(text)) : std::nullopt;
}

std::string entry_of(std::span<const CommandLine> script)
{
    TextPacker packer;
    packer.add(static_cast<std::size_t>(EntryKind::lines));
    for (const CommandLine& line : script) {
        pack(packer, line.vsys);
        packer.add(line.view);
        pack(packer, line.view_type);
        packer.add(line.text);
    }
    return packer.packed();
}

std::string entry_of_removal(std::string_view vsys)
{
    TextPacker packer;
    packer.add(static_cast<std::size_t>(EntryKind::removal));
    packer.add(vsys);
    return packer.packed();
}

std::vector<CommandLine> unpack_lines(TextUnpacker& unpacker)
{
    std::vector<CommandLine> lines;
    while (!unpacker.is_at_end()) {
        CommandLine line;
        line.vsys = unpack_optional(unpacker);
        line.view = unpacker.text();
        line.view_type = unpack_optional(unpacker);
        line.text = unpacker.text();
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace

class KeptDevice::Log
{
public:
    explicit Log(const std::string& file)
        : store_(file, StoreFile::Mode::read_write, device_format()),
          append_(store_.database(), "INSERT INTO scripts VALUES (?1, ?2, ?3)", "keeping a script")
    {
    }

    // The device as it once was; empty when it was new.
    std::string read_dump()
    {
        Statement statement(store_.database(), "SELECT id, checksum, dump FROM device", "reading the device");
        Rows rows = statement.query();
        if (!rows.next())
            return {};
        newest_ = rows.integer(0);
        if (rows.integer(1) != checksum(newest_, rows.view(2)))
            fail("the device is damaged");
        return rows.text(2);
    }

    // The scripts since then, in their order. What `take` throws is a reason why the file cannot be used.
    void read_scripts(const std::function<void(const std::string&)>& take)
    {
        Statement statement(store_.database(), "SELECT id, checksum, entry FROM scripts ORDER BY id",
                            "reading the device's scripts");
        for (Rows rows = statement.query(); rows.next();) {
            const std::int64_t id = rows.integer(0);
            if (id != newest_ + 1 || rows.integer(1) != checksum(id, rows.view(2)))
                fail("script " + std::to_string(newest_ + 1) + " is damaged");
            try {
                take(rows.text(2));
            } catch (const std::exception& error) {
                fail("script " + std::to_string(id) + ": " + error.what());
            }
            newest_ = id;
            bytes_ += rows.view(2).size();
        }
    }

    void append(const std::string& entry)
    {
        append_.run(newest_ + 1, checksum(newest_ + 1, entry), entry);
        ++newest_;
    }

    [[nodiscard]] std::size_t bytes() const { return bytes_; } // of the scripts that have been read

    // Replaces the scripts by the device that they have led to.
    void compact(const std::string& dump)
    {
        constexpr const char* action = "compacting it";
        const Database& database = store_.database();
        Transaction transaction(database, action);
        Statement(database, "REPLACE INTO device VALUES (0, ?1, ?2, ?3)", action)
            .run(newest_, checksum(newest_, dump), dump);
        Statement(database, "DELETE FROM scripts", action).run();
        transaction.commit();
    }

    [[noreturn]] void fail(const std::string& reason)
    {
        throw StoreError(StoreError::Kind::corrupt, store_.database().file() + ": opening it: " + reason);
    }

private:
    StoreFile store_;
    Statement append_;
    std::int64_t newest_ = 0; // the last script
    std::size_t bytes_ = 0;
};

KeptDevice::KeptDevice(const std::string& file, const SignatureCatalogue& catalogue, const DeviceLimits& limits)
    : device_(catalogue, limits), log_(std::make_unique<Log>(file))
{
    const std::string kept = log_->read_dump();
    try {
        if (!kept.empty())
            device_.restore(kept);
    } catch (const std::exception& error) {
        log_->fail(error.what());
    }
    log_->read_scripts([this](const std::string& entry) { take_again(entry); });

    if (log_->bytes() <= std::max(kept.size(), least_compacted_bytes))
        return;
    try {
        log_->compact(dump(device_.device()));
    } catch (const StoreError& error) {
        if (error.kind() != StoreError::Kind::full)
            throw; // without room, the scripts stay for now
    }
}

KeptDevice::~KeptDevice() = default;

std::optional<PlatformError> KeptDevice::execute(std::span<const CommandLine> script, int operation)
{
    static_cast<void>(operation); // as for the emulated device
    if (script.empty())
        return std::nullopt;
    if (std::optional<PlatformError> error = device_.try_script(script))
        return error;
    return keep(entry_of(script));
}

std::optional<PlatformError> KeptDevice::remove_vsys(std::string_view name)
{
    device_.try_removal(name);
    return keep(entry_of_removal(name));
}

std::optional<PlatformError> KeptDevice::keep(const std::string& entry)
{
    try {
        log_->append(entry);
    } catch (const StoreError& error) {
        device_.take_back();
        return PlatformError{NC_ERR_OP_FAILED, error.what(), std::nullopt};
    } catch (...) {
        device_.take_back();
        throw;
    }
    device_.accept();
    return std::nullopt;
}

void KeptDevice::take_again(const std::string& entry)
{
    TextUnpacker unpacker(entry);
    const std::size_t kind = unpacker.number();
    if (kind == static_cast<std::size_t>(EntryKind::removal))
        device_.try_removal(unpacker.text());
    else if (kind != static_cast<std::size_t>(EntryKind::lines))
        throw std::invalid_argument("of an unknown kind");
    else if (const auto error = device_.try_script(unpack_lines(unpacker)))
        throw std::invalid_argument("refused, although it was taken once: " + error->message);
    device_.accept();
}

} // namespace qnips
