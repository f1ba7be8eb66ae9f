// SPDX-License-Identifier: MIT
// Shared by all benchmark programs: rounds in which our code and its peers run in turn, medians with their
// spread, and goals that a program can miss.
//
// A program creates one Harness, measures, reports each figure and ends with Finish(). It prints a line for
// each figure. If LUMENTA_BENCH_FIGURES names a file, it also appends a line to that file, with tabs between
// the fields:
//     figure  NAME  MEDIAN  LOWEST to HIGHEST  UNIT  GOAL  WHERE  VERDICT
// The last line is "finished". A program that failed does not write it, but a program that missed goals does.
// GOAL is "at least N", "at most N" or "-". VERDICT is "met", "near" (short of the goal by a tenth or less),
// "missed" or "-". LUMENTA_BENCH_SLOWDOWN=1.5 multiplies all our times by 1.5, to test that goals can be
// missed.
//
// With --help a program prints what it measures and its arguments, with --list the names of its pages. An
// argument that it does not have ends it with status 2.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

double NowMs(); // time of a monotonic clock

// Median and Percentile need at least one value.
double Median(std::vector<double> values);
// Returns the least value that a share of 0 to 1 of all values does not exceed.
double Percentile(std::vector<double> values, double share);
std::vector<double> Ratios(const std::vector<double>& of, const std::vector<double>& to); // round by round
std::vector<double> Differences(const std::vector<double>& of, const std::vector<double>& from);

// For wrong rows, missing files and the like: prints the text and ends the program with status 1.
[[noreturn]] void Fail(std::string_view what);
void Require(bool good, std::string_view what);

struct Goal {
    enum class Kind { none, at_least, at_most };
    Kind kind = Kind::none;
    double value = 0;
};
constexpr Goal AtLeast(double value)
{
    return {Goal::Kind::at_least, value};
}
constexpr Goal AtMost(double value)
{
    return {Goal::Kind::at_most, value};
}

// Where a figure was measured. ", cached" or ", cold" is appended if it depends on the system's file cache.
constexpr const char* kInMemory = "memory"; // in this program alone, without a display
constexpr const char* kOnX = "X";

// What a program measures, and the arguments that it has in addition to --help and --rounds=N.
struct Manual {
    struct Option {
        std::string form; // as in "--plain", "--once=ours" or, for any value, "--scale=N"
        std::string meaning;
    };
    std::string purpose; // continues "NAME: ", as in "measures opening a page"
    int rounds = 1;      // rounds without --rounds=N
    std::vector<Option> options = {};
    std::vector<std::string> pages = {}; // if there are any, --page=NAME selects one, and --list prints them
};

// Returns the names of the pages in a table of the program.
template <class Pages>
std::vector<std::string> NamesOf(const Pages& pages)
{
    std::vector<std::string> names;
    for (const auto& page : pages)
        names.emplace_back(page.name);
    return names;
}

class Harness
{
public:
    // Ends the program after --help, --list or an argument that the manual does not have.
    Harness(int argc, char** argv, const Manual& manual);

    // The arguments --rounds=N, --NAME and --NAME=VALUE.
    int Rounds() const { return m_rounds; }
    bool Has(std::string_view name) const;
    std::string_view Value(std::string_view name) const; // empty without the argument

    // `run` returns its time in milliseconds.
    struct Contender {
        bool is_ours;
        std::function<double()> run;
    };
    // Returns the times of each contender, in the order of `contenders`. In a round each runs once, in turn.
    // An additional first round is not counted. Warm::each_run: before each run the same contender runs once
    // without being counted, so that its data is in the cache.
    enum class Warm { first_round, each_run };
    std::vector<std::vector<double>> InTurn(const std::vector<Contender>& contenders,
                                            Warm warm = Warm::first_round) const;

    // For programs that measure in other ways: applies LUMENTA_BENCH_SLOWDOWN to a time or amount of ours.
    double Ours(double value) const { return value * m_slowdown; }
    std::vector<double> Ours(std::vector<double> values) const;

    // Reports one figure from its values in all rounds. Their median is compared with the goal. If `where` is
    // empty, the text of SetWhere is used.
    void Report(const std::string& name, const std::vector<double>& values, const char* unit, Goal goal = {},
                const std::string& where = {});
    void Report(const std::string& name, double value, const char* unit, Goal goal = {},
                const std::string& where = {});
    void SetWhere(const std::string& where) { m_where = where; }

    // Prints the goals that were missed by more than a tenth. Returns the status for main: 1 if there are
    // any, else 0.
    int Finish() const;

private:
    void Keep(const std::string& line) const; // appends the line to the file of figures, if there is one

    std::vector<std::string> m_arguments;
    int m_rounds;
    double m_slowdown = 1;
    std::string m_where = kInMemory;
    std::string m_figures_path;
    std::vector<std::string> m_missed;
};
