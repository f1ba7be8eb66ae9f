// What all benchmark programs share: rounds in turn with the peers, medians with their spread, and goals that
// a program can miss.
//
// A program makes one Harness, measures, reports each figure and ends with Finish(). It prints a line for
// each figure, and appends it to the file that LUMENTA_BENCH_FIGURES names, with tabs between the fields:
//     figure  NAME  MEDIAN  LOWEST to HIGHEST  UNIT  GOAL  WHERE  VERDICT
// and "finished" on a line of its own at the end, so that a program that failed can be told from one whose
// goals were missed.
// GOAL is "at least N", "at most N" or "-". VERDICT is "met", "near" (short of the goal by a tenth or less),
// "missed" or "-". LUMENTA_BENCH_SLOWDOWN=1.5 makes all times of ours that much longer: a missed goal that
// is planted.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

double NowMs(); // of a clock that only runs forward

double Median(std::vector<double> values); // of at least one
double Percentile(std::vector<double> values,
                  double share); // the least value that this share does not exceed
std::vector<double> Ratios(const std::vector<double>& of, const std::vector<double>& to); // round by round
std::vector<double> Differences(const std::vector<double>& of, const std::vector<double>& from);

// Wrong rows, a missing file: says what is wrong and ends the program with 1.
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

// Where a figure comes from; ", cached" or ", cold" follows if the place of files matters.
constexpr const char* kInMemory = "memory"; // of this program: no display has a part in it
constexpr const char* kOnX = "X";

class Harness
{
public:
    Harness(int argc, char** argv, int default_rounds);

    // --rounds=N, --NAME and --NAME=VALUE. A program passes over those that are meant for others.
    int Rounds() const { return m_rounds; }
    bool Has(std::string_view name) const;
    std::string_view Value(std::string_view name) const; // empty if there is none

    // Run gives the milliseconds that it took.
    struct Contender {
        bool is_ours;
        std::function<double()> run;
    };
    // Times of each contender in the order given. In a round each runs once, in turn; a first round is not
    // counted. Warm::each_run: each run comes right after one of the same contender that is not counted, so
    // that all find their own data in the cache.
    enum class Warm { first_round, each_run };
    std::vector<std::vector<double>> InTurn(const std::vector<Contender>& contenders,
                                            Warm warm = Warm::first_round) const;

    // For programs that measure in other ways: a time or an amount of ours, with the planted slowdown.
    double Ours(double value) const { return value * m_slowdown; }
    std::vector<double> Ours(std::vector<double> values) const;

    // One figure from its values in all rounds; their median is held against the goal. Without `where`: the
    // program's.
    void Report(const std::string& name, const std::vector<double>& values, const char* unit, Goal goal = {},
                const std::string& where = {});
    void Report(const std::string& name, double value, const char* unit, Goal goal = {},
                const std::string& where = {});
    void SetWhere(const std::string& where) { m_where = where; }

    // Names the goals that were missed by more than a tenth. The status for main: 1 if there were any.
    int Finish() const;

private:
    void Keep(const std::string& line) const; // in the file of the figures, if there is one

    std::vector<std::string> m_arguments;
    int m_rounds;
    double m_slowdown = 1;
    std::string m_where = kInMemory;
    std::string m_figures_path;
    std::vector<std::string> m_missed;
};
