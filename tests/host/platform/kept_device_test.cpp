// A device that survives its process: what it has taken is there again, and only that.
#include "platform/kept_device.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/platform/random_script.h"
#include "host/store/child_process.h"
#include "host/store/damaged_file.h"
#include "host/store/temporary_folder.h"
#include "platform/device_dump.h"
#include "store/sqlite.h"
#include "transapi/netconf_error.h"

namespace qnips
{

namespace
{

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Kind = StoreError::Kind;

std::vector<CommandLine> one_line(std::string text)
{
    return {{.vsys = "branch", .view = "system", .view_type = {}, .text = std::move(text)}};
}

// Random calls, the same ones for both.
void call(CommandPlatform& first, CommandPlatform& second, RandomScripts& scripts)
{
    if (scripts.number(0, 60) == 0) {
        const std::string vsys = scripts.vsys();
        EXPECT_EQ(first.remove_vsys(vsys), second.remove_vsys(vsys));
        return;
    }
    const std::vector<CommandLine> script = scripts.script();
    EXPECT_EQ(first.execute(script, 0), second.execute(script, 0));
}

void expect_same(KeptDevice& kept, EmulatedPlatform& plain)
{
    EXPECT_EQ(dump(kept.device()), dump(plain.device()));
    EXPECT_EQ(kept.configuration(), plain.configuration());
    EXPECT_EQ(kept.state(), plain.state());
    EXPECT_EQ(kept.first_signature_set("branch", "a"), plain.first_signature_set("branch", "a"));
}

// How many scripts are in a file that nobody has open.
std::int64_t scripts_in(const std::string& file)
{
    const Database database(file, Database::Access::read_only);
    Statement statement(database, "SELECT count(*) FROM scripts", "counting");
    Rows rows = statement.query();
    return rows.next() ? rows.integer(0) : -1;
}

std::pair<std::optional<Kind>, std::string> opened(const std::string& file, const SignatureCatalogue& catalogue,
                                                   const DeviceLimits& limits = {})
{
    try {
        return {std::nullopt, dump(KeptDevice(file, catalogue, limits).device())};
    } catch (const StoreError& error) {
        return {error.kind(), error.what()};
    }
}

class KeptDevices : public ::testing::Test
{
protected:
    TemporaryFolder folder_;
    std::string file_ = folder_.file("device");
    SignatureCatalogue catalogue_ = catalogue_for_scripts();
};

TEST_F(KeptDevices, AreWhatTheyWereWhenTheyAreOpenedAgain)
{
    RandomScripts scripts(3);
    EmulatedPlatform plain(catalogue_);
    for (int opening = 0; opening < 12; ++opening) {
        KeptDevice kept(file_, catalogue_);
        expect_same(kept, plain);
        for (int count = 0; count < 25; ++count)
            call(kept, plain, scripts);
        expect_same(kept, plain);
    }
    EXPECT_GT(dump(plain.device()).size(), 500U) << "the scripts have hardly done anything";
}

TEST_F(KeptDevices, KeepNothingOfWhatTheyRefuse)
{
    {
        KeptDevice kept(file_, catalogue_);
        EXPECT_EQ(kept.execute(one_line("profile type ips name \"web\""), 0), std::nullopt);
        std::vector<CommandLine> script = one_line("profile type ips name \"other\"");
        script.push_back(one_line("no such command").front());
        EXPECT_EQ(kept.execute(script, 0)->code, NC_ERR_PARSE_COMMAND);
        EXPECT_EQ(kept.execute({}, 0), std::nullopt);
        EXPECT_THAT(kept.configuration().text(), ::testing::Not(HasSubstr("other")));
    }
    EXPECT_EQ(scripts_in(file_), 1);
}

TEST_F(KeptDevices, AreCompactedWhenTheirScriptsOutweighThem)
{
    EmulatedPlatform plain(catalogue_);
    const auto fill = [&](int scripts) {
        KeptDevice kept(file_, catalogue_);
        expect_same(kept, plain);
        for (int count = 0; count < scripts; ++count) {
            const auto script =
                one_line("cnc domain-filter exception domain-name " + std::string(200, 'd') + ".example");
            EXPECT_EQ(kept.execute(script, 0), std::nullopt);
            EXPECT_EQ(plain.execute(script, 0), std::nullopt);
        }
    };
    fill(100);
    fill(300); // opening it has found too few for that
    EXPECT_EQ(scripts_in(file_), 400);
    fill(0);
    EXPECT_EQ(scripts_in(file_), 0);
    fill(5);
    fill(0);
    EXPECT_EQ(scripts_in(file_), 5);
}

TEST_F(KeptDevices, AreOpenedOnce)
{
    const KeptDevice kept(file_, catalogue_);
    const auto text = file_ + ": opening it for writing: in use by process " + std::to_string(getpid());
    EXPECT_EQ(opened(file_, catalogue_), (std::pair{std::optional(Kind::in_use), text}));
    EXPECT_EQ(in_child([&](const Reports& reports) { reports.say(opened(file_, catalogue_).second); }), text + "\n");
}

TEST_F(KeptDevices, SayWhichScriptIsRefusedNow)
{
    {
        KeptDevice kept(file_, catalogue_);
        EXPECT_EQ(kept.execute(one_line("profile type ips name \"a\""), 0), std::nullopt);
        EXPECT_EQ(kept.execute(one_line("profile type ips name \"b\""), 0), std::nullopt);
    }
    const auto [kind, text] = opened(file_, catalogue_, DeviceLimits::of_all(1));
    EXPECT_EQ(kind, Kind::corrupt);
    EXPECT_THAT(text, StartsWith(file_ + ": opening it: script 2: refused, although it was taken once: "));
    EXPECT_EQ(opened(file_, catalogue_).first, std::nullopt);
}

TEST_F(KeptDevices, RefuseWhatTheyHaveNoRoomToKeep)
{
    const std::string said = in_child([&](const Reports& reports) {
        KeptDevice kept(file_, catalogue_);
        kept.execute(one_line("profile type ips name \"first\""), 0);
        const std::string before = dump(kept.device());
        limit_files(std::filesystem::file_size(file_ + "-wal"));
        const auto script = one_line("profile type ips name \"second\"");
        for (const auto& error : {kept.execute(script, 0), kept.remove_vsys("branch")}) {
            reports.say(error ? std::to_string(error->code) + " " + error->message : "taken");
            reports.say(dump(kept.device()) == before ? "as before" : "changed");
        }
        limit_files(any_size);
        reports.say(kept.execute(script, 0) ? "refused" : "taken");
        reports.say(dump(kept.device()));
    });
    const std::string refusal = std::to_string(NC_ERR_OP_FAILED) + " " + file_ +
                                ": keeping a script: disk I/O error (File too large)\nas before\n";
    EXPECT_EQ(said, refusal + refusal + "taken\n" + opened(file_, catalogue_).second + "\n");
    EXPECT_THAT(said, HasSubstr("second"));
}

TEST_F(KeptDevices, LoseNoScriptWhenTheirProcessIsKilled)
{
    std::mt19937 random(11);
    std::size_t known = 0; // scripts that have been acknowledged or seen
    std::string file;
    std::size_t most = 0;
    for (int count = 0; count < number_of_kills() && !HasFailure(); ++count) {
        if (count % 5 == 0) {
            file = folder_.file("device-" + std::to_string(count));
            known = 0;
        }
        // Script number n makes profiles n and n + 0.5 and removes those of n - 1.
        ChildProcess child([&](const Reports& reports) {
            KeptDevice kept(file, catalogue_);
            for (std::size_t number = known + 1;; ++number) {
                const std::string name = std::to_string(number);
                auto script = one_line("profile type ips name \"" + name + "\"");
                script.push_back(one_line("profile type ips name \"" + name + ".5\"").front());
                if (number > 1) {
                    const std::string last = std::to_string(number - 1);
                    script.push_back(one_line("undo profile type ips name \"" + last + "\"").front());
                    script.push_back(one_line("undo profile type ips name \"" + last + ".5\"").front());
                }
                if (const auto error = kept.execute(script, 0))
                    return reports.say("refused: " + error->message);
                reports.say(name);
            }
        });
        kill_within(child, std::chrono::milliseconds(40), random);
        std::istringstream said(child.rest());
        for (std::string line; std::getline(said, line);)
            known = std::stoul(line);

        KeptDevice kept(file, catalogue_);
        const auto device_after = [&](std::size_t number) {
            EmulatedPlatform plain(catalogue_);
            if (number > 0) {
                plain.execute(one_line("profile type ips name \"" + std::to_string(number) + "\""), 0);
                plain.execute(one_line("profile type ips name \"" + std::to_string(number) + ".5\""), 0);
            }
            return dump(plain.device());
        };
        const std::string device = dump(kept.device());
        if (device == device_after(known + 1))
            ++known;
        EXPECT_EQ(device, device_after(known)) << "after " << known << " scripts";
        most = std::max(most, known);
    }
    EXPECT_GT(most, 5U) << "the children have hardly worked";
}

TEST_F(KeptDevices, AreRefusedOrWhatTheyWereWhenTheirFileIsDamaged)
{
    RandomScripts scripts(5);
    for (int opening = 0; opening < 2; ++opening) { // a dump, and scripts after it
        KeptDevice kept(file_, catalogue_);
        for (int count = 0; count < (opening == 0 ? 250 : 20); ++count) {
            kept.execute(scripts.script(), 0);
            kept.execute(one_line("cnc domain-filter exception domain-name " + std::string(500, 'd') + ".e"), 0);
        }
    }
    const auto [failure, text] = opened(file_, catalogue_);
    ASSERT_EQ(failure, std::nullopt) << text;
    ASSERT_GT(scripts_in(file_), 0);
    ASSERT_LT(scripts_in(file_), 100);
    const std::string sound = content_of(file_);
    std::mt19937 random(9);
    for (const Damage& damage : damages_of(sound.size(), 100, random)) {
        const TemporaryFolder own_folder;
        const std::string file = own_folder.file("damaged");
        write_file(file, damage.of(sound));
        const auto [kind, result] = opened(file, catalogue_);
        if (!kind) {
            EXPECT_EQ(result, text) << damage.text();
            continue;
        }
        const bool is_newer = changes_version(damage) && kind == Kind::newer_version;
        EXPECT_TRUE(is_newer || kind == Kind::corrupt) << damage.text() << ": " << result;
        EXPECT_THAT(result, StartsWith(file + ": ")) << damage.text();
        EXPECT_EQ(content_of(file), damage.of(sound)) << damage.text();
    }
}

TEST_F(KeptDevices, DoNotTakeAnotherFileForTheirs)
{
    write_file(file_, "not a device");
    EXPECT_EQ(opened(file_, catalogue_),
              (std::pair{std::optional(Kind::corrupt), file_ + ": opening it: no device store: too short"}));
    EXPECT_EQ(content_of(file_), "not a device");
}

} // namespace

} // namespace qnips
