// A device's tree comes back from its dump as it was.
#include "platform/device_dump.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "host/platform/random_script.h"
#include "platform/device_xml.h"
#include "platform/emulator.h"

namespace qnips
{

namespace
{

TEST(DeviceDump, KeepsValuesKeysOrdersAndEmptyNodes)
{
    DeviceTree tree;
    tree.set({{"a", ""}, {"list", "k;1"}, {"leaf", ""}}, "value\nof two lines");
    tree.set({{"a", ""}, {"list", "k2"}});
    tree.set({{"a", ""}, {"list", ""}}, "no key");
    tree.set_order({{"a", ""}}, {"k2", "k;1"});
    tree.set({{"empty", ""}});
    DeviceTree other;
    restore(other, dump(tree));
    EXPECT_EQ(dump(other), dump(tree));
    EXPECT_EQ(other.value({{"a", ""}, {"list", "k;1"}, {"leaf", ""}}), "value\nof two lines");
    EXPECT_EQ(other.find({{"a", ""}})->order.front(), "k2");
    EXPECT_EQ(other.find({{"a", ""}})->count_of("list"), 2U);
    EXPECT_NE(other.find({{"empty", ""}}), nullptr);
    EXPECT_EQ(other.find({{"empty", ""}, {"x", ""}}), nullptr);
}

TEST(DeviceDump, TellsTreesApart)
{
    DeviceTree tree;
    tree.set({{"a", ""}, {"b", "1"}}, "x");
    const std::string before = dump(tree);
    tree.commit();
    const auto expect_another = [&] {
        EXPECT_NE(dump(tree), before);
        tree.roll_back();
        EXPECT_EQ(dump(tree), before);
    };
    tree.set({{"a", ""}, {"b", "1"}}, "y");
    expect_another();
    tree.set({{"a", ""}, {"b", "2"}}, "x");
    expect_another();
    tree.set_order({{"a", ""}}, {"1"});
    expect_another();
    tree.erase({{"a", ""}, {"b", "1"}});
    expect_another();
}

TEST(DeviceDump, KeepsWhateverADeviceHolds)
{
    const SignatureCatalogue catalogue = catalogue_for_scripts();
    RandomScripts scripts(1);
    EmulatedPlatform device(catalogue);
    for (int count = 0; count < 300; ++count) {
        device.execute(scripts.script(), 0);
        EmulatedPlatform other(catalogue);
        other.restore(dump(device.device()));
        ASSERT_EQ(dump(other.device()), dump(device.device()));
        ASSERT_EQ(other.configuration(), device.configuration());
    }
    EXPECT_GT(dump(device.device()).size(), 500U) << "the scripts have hardly done anything";
}

TEST(DeviceDump, IsRefusedWhenItIsNotWhole)
{
    DeviceTree tree;
    tree.set({{"a", ""}, {"b", "1"}}, "x");
    tree.set_order({{"a", ""}}, {"1"});
    const std::string whole = dump(tree);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        DeviceTree other;
        EXPECT_THROW(restore(other, whole.substr(0, size)), std::invalid_argument) << size;
    }
    DeviceTree other;
    EXPECT_THROW(restore(other, whole + "0;"), std::invalid_argument);
}

TEST(DeviceDump, IsRefusedByADeviceWithLessRoom)
{
    DeviceTree tree;
    const DeviceLimits limits;
    const ListLimit limit = limits.lists().front();
    const std::string holder(limit.holder);
    const std::string entry(limit.entry);
    tree.set({{holder, ""}, {entry, "1"}});
    tree.set({{holder, ""}, {entry, "2"}});
    DeviceTree small(DeviceLimits::of_all(1));
    EXPECT_THROW(restore(small, dump(tree)), ListFull);
}

} // namespace

} // namespace qnips
