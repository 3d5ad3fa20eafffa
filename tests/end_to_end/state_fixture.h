// A folder in which the program keeps a device and its history.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "end_to_end/program.h"
#include "host/store/temporary_folder.h"

namespace qnips::test
{

class State : public testing::Test
{
protected:
    // Runs `words` with the option for the state folder behind them.
    Outcome run(std::vector<std::string> words, const Preparation& prepare = {}) const
    {
        words.insert(words.end(), {"--state", lab_.string()});
        return run_program(words, folder_.path(), prepare);
    }

    Outcome apply(const std::string& example, const Preparation& prepare = {}) const
    {
        return run({"apply", (std::filesystem::path(QN_IPS_EXAMPLES) / example).string()}, prepare);
    }

    [[nodiscard]] std::string file(const std::string& name) const { return (lab_ / name).string(); }

    TemporaryFolder folder_;
    std::filesystem::path lab_ = folder_.path() / "lab";
};

} // namespace qnips::test
