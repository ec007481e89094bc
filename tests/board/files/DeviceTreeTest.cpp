// SPDX-License-Identifier: Apache-2.0
#include "board/files/DeviceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;

std::string Placed(const DeviceTree& tree) {
    std::string text;
    for (const Placement& place : tree.Placements("/m"))
        text +=
            place.inside.string() + "=" + place.outside.string() + (place.kind == Placement::Kind::BIND ? " " : "?");
    return text;
}

// "oxboIrqN/value" and so on, from the root.
std::string PathOf(const DeviceTree& tree, DeviceTree::Number number) {
    std::string path;
    while (number != DeviceTree::ROOT) {
        const DeviceTree::Number parent = tree.Find(number)->parent;
        for (const auto& [name, child] : tree.Find(parent)->children)
            if (child == number)
                path = "/" + name + path;
        number = parent;
    }
    return path;
}

TEST(DeviceTreeTest, HasAFileForEverySignalAtItsPath) {
    const BoardModel model;
    const BoardState state(model);
    const DeviceTree tree(state);

    for (std::size_t signal = 0; signal < state.Count(); ++signal) {
        const auto file = tree.FileOf(signal);
        ASSERT_TRUE(file) << state.Name(signal);
        EXPECT_EQ(PathOf(tree, *file), state.Path(signal));
        EXPECT_TRUE(tree.Find(*file)->isFile);
        EXPECT_EQ(tree.Find(*file)->signals, std::vector{signal});
    }
    EXPECT_EQ(Placed(tree), "/var/dev=/m/var/dev /sys/class/leds=/m/sys/class/leds ");
    EXPECT_EQ(tree.Find(0), nullptr);
    EXPECT_EQ(tree.Find(1000), nullptr);
    EXPECT_FALSE(tree.Find(DeviceTree::ROOT)->isFile);
}

TEST(DeviceTreeTest, PutsFilesElsewhereByThemselvesAndSharesOnePath) {
    BoardModel model;
    model.Apply("qor_pin", "irq_n", "/dev/null");
    model.Apply("qor_pin", "busy_n", "relative/path");
    model.Apply("qor_pin", "reset_n", "");
    model.Apply("oxbo_pin", "reset_n", "/elsewhere/x/../reset");
    model.Apply("oxbo_pin", "ramloader_enable", "/elsewhere/reset");
    model.Apply("oxbo_pin", "mod_1", "/var/dev/mod1");
    model.Apply("led", "module_status_red", "/var/development");
    const BoardState state(model);
    const DeviceTree tree(state);

    for (const char* name : {"QOR_DPRAM_IRQ_N", "QOR_DPRAM_BUSY_N", "QOR_RESET0_N"})
        EXPECT_EQ(tree.FileOf(*state.Find(name)), std::nullopt) << name;
    EXPECT_EQ(tree.FileOf(*state.Find("OXBO_RL")), tree.FileOf(*state.Find("OXBO_RESET1_N")));
    EXPECT_EQ(Placed(tree), "/var/dev=/m/var/dev /sys/class/leds=/m/sys/class/leds "
                            "/elsewhere/reset=/m/elsewhere/reset /var/development=/m/var/development ");
}

TEST(DeviceTreeTest, RefusesAFileThatWouldHaveToBeADirectory) {
    const struct {
        const char* reset;
        const char* irq;
        const char* named;
    } rows[] = {{"/a", "/a/b/c", "/a"}, {"/a/b", "/a", "/a/b"}, {"/var/dev", "/x", "/var/dev"}, {"/var", "/x", "/var"}};
    for (const auto& row : rows) {
        BoardModel model;
        model.Apply("oxbo_pin", "reset_n", row.reset);
        model.Apply("oxbo_pin", "irq_n", row.irq);
        const BoardState state(model);
        try {
            const DeviceTree tree(state);
            ADD_FAILURE() << row.reset;
        } catch (const BoardError& error) {
            EXPECT_THAT(error.what(), HasSubstr("the value file " + std::string(row.named) + " of "));
        }
    }
}

} // namespace
} // namespace VelrixBoard
