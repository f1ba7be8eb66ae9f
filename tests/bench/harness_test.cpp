// SPDX-License-Identifier: MIT
// The harness of the benchmark programs: goals, figures, rounds, arguments and statistics.
#include "bench/harness.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace
{
struct Case {
    const char* what;
    std::vector<double> values;
    Goal goal;
    const char* verdict;
    int status;
};

std::string FiguresOf(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

const Manual kManual{.purpose = "nothing",
                     .rounds = 3,
                     .options = {{"--plain", "plain"}, {"--once=ours", "once"}, {"--scale=N", "a scale"}},
                     .pages = {"text", "blank"}};

class HarnessTest : public testing::Test
{
protected:
    void SetUp() override
    {
        std::remove(m_figures.c_str());
        setenv("LUMENTA_BENCH_FIGURES", m_figures.c_str(), 1);
    }
    void TearDown() override
    {
        unsetenv("LUMENTA_BENCH_FIGURES");
        std::remove(m_figures.c_str());
    }

    Harness Make(std::vector<std::string> arguments = {})
    {
        arguments.insert(arguments.begin(), "bench");
        std::vector<char*> pointers;
        pointers.reserve(arguments.size());
        for (std::string& argument : arguments)
            pointers.push_back(argument.data());
        return {static_cast<int>(pointers.size()), pointers.data(), kManual};
    }

    // Tests run at the same time, so each has a file of its own.
    const std::string m_figures =
        testing::TempDir() + testing::UnitTest::GetInstance()->current_test_info()->name() + "-figures";
};

TEST_F(HarnessTest, AGoalMissedByMoreThanATenthEndsTheProgramWithStatus1)
{
    const Case cases[] = {
        {"met", {10, 30, 20}, AtMost(20), "met", 0},
        {"near", {22}, AtMost(20), "near", 0},
        {"missed", {22.1}, AtMost(20), "missed", 1},
        {"met", {4, 4, 1}, AtLeast(4), "met", 0},
        {"near", {9}, AtLeast(10), "near", 0},
        {"missed", {8.9}, AtLeast(10), "missed", 1},
        {"a goal of 0", {1}, AtMost(0), "missed", 1},
        {"not a number, at least", {std::nan("")}, AtLeast(1), "missed", 1},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.what);
        std::remove(m_figures.c_str());
        Harness bench = Make();
        bench.Report("name", one.values, "ms", one.goal);
        EXPECT_TRUE(FiguresOf(m_figures).ends_with(std::string{"\t"} + one.verdict + "\n"))
            << FiguresOf(m_figures);
        EXPECT_EQ(bench.Finish(), one.status);
        // A goal that is met later does not change the status.
        bench.Report("other", 1, "ms", AtMost(1));
        EXPECT_EQ(bench.Finish(), one.status);
    }
}

TEST_F(HarnessTest, EachFigureIsOneLineInTheFile)
{
    Harness bench = Make();
    bench.SetWhere("X, cached");
    bench.Report("start, page", {3.5, 1.25, 2}, "ms", AtMost(2.5));
    bench.Report("copy", 4, "MB", {}, kInMemory);
    bench.Finish();
    EXPECT_EQ(FiguresOf(m_figures), "figure\tstart, page\t2\t1.25 to 3.5\tms\tat most 2.5\tX, cached\tmet\n"
                                    "figure\tcopy\t4\t4 to 4\tMB\t-\tmemory\t-\nfinished\n");
}

TEST_F(HarnessTest, ContendersRunInTurnAndTheirFirstRoundIsNotCounted)
{
    struct {
        const char* what;
        Harness::Warm warm;
        const char* order;
        std::vector<double> first, second;
    } const cases[] = {
        {"first round", Harness::Warm::first_round, "ababab", {3, 5}, {4, 6}},
        {"each run", Harness::Warm::each_run, "aabbaabbaabb", {6, 10}, {8, 12}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        std::string order;
        const auto run = [&order](char who) {
            return [&order, who] {
                order += who;
                return static_cast<double>(order.size());
            };
        };
        const auto times = Make({"--rounds=2"}).InTurn({{true, run('a')}, {false, run('b')}}, one.warm);
        EXPECT_EQ(order, one.order);
        EXPECT_EQ(times[0], one.first);
        EXPECT_EQ(times[1], one.second);
    }
}

TEST_F(HarnessTest, ArgumentsAreThoseOfTheManual)
{
    const Harness bench = Make({"--plain", "--once=ours", "--scale=16", "--page=blank", "--rounds=5"});
    EXPECT_TRUE(bench.Has("plain"));
    EXPECT_EQ(bench.Value("scale"), "16");
    EXPECT_EQ(bench.Value("page"), "blank");
    EXPECT_FALSE(bench.Has("black"));
    EXPECT_EQ(bench.Rounds(), 5);
    EXPECT_EQ(Make().Rounds(), 3);
    EXPECT_EXIT(Make({"--plain", "--help"}), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(Make({"--list"}), testing::ExitedWithCode(0), "");
    for (const char* const wrong :
         {"--frob", "--plain=1", "--once=theirs", "--page=none", "--rounds=0", "--rounds=2x", "text"})
        EXPECT_EXIT(Make({wrong}), testing::ExitedWithCode(2),
                    std::string{"bench: unknown argument "} + wrong);
}

TEST_F(HarnessTest, AFailureEndsTheProgramAtOnce)
{
    EXPECT_EXIT(Require(false, "the rows differ"), testing::ExitedWithCode(1), "the rows differ");
    EXPECT_EXIT(Make().Report("nothing", std::vector<double>{}, "ms"), testing::ExitedWithCode(1),
                "no value");
    setenv("LUMENTA_BENCH_FIGURES", "/nonexistent/figures", 1);
    EXPECT_EXIT(Make().Report("lost", 1, "ms"), testing::ExitedWithCode(1), "cannot be written");
}

TEST(Statistics, MedianAndPercentile)
{
    EXPECT_EQ(Median({5, 1, 3}), 3);
    EXPECT_EQ(Median({4, 1, 3, 2}), 2.5);
    EXPECT_EQ(Percentile({4, 1, 3, 2}, 1), 4);
    EXPECT_EQ(Percentile({4, 1, 3, 2}, 0.5), 2);
    EXPECT_EQ(Percentile({4, 1, 3, 2}, 0), 1);
    EXPECT_EQ(Differences({5, 3}, {1, 4}), (std::vector<double>{4, -1}));
}
} // namespace
