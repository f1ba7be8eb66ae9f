// SPDX-License-Identifier: MIT
// Runs the contenders, prints the figures and compares them with their goals.
#include "bench/harness.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace
{
// A figure misses its goal only if it is worse by more than this share, so that noise alone causes no miss.
constexpr double kTolerance = 0.1;

std::string GoalText(Goal goal)
{
    if (goal.kind == Goal::Kind::none)
        return "-";
    char text[64];
    std::snprintf(text, sizeof text, "at %s %g", goal.kind == Goal::Kind::at_least ? "least" : "most",
                  goal.value);
    return text;
}

const char* VerdictOf(double value, Goal goal)
{
    if (goal.kind == Goal::Kind::none)
        return "-";
    const bool at_least = goal.kind == Goal::Kind::at_least;
    // A value that is not a number (NaN) fails both comparisons and misses.
    if (at_least ? value >= goal.value : value <= goal.value)
        return "met";
    const double limit = goal.value * (at_least ? 1 - kTolerance : 1 + kTolerance);
    return (at_least ? value >= limit : value <= limit) ? "near" : "missed";
}

// Prints each option of the program with its meaning.
void PrintManual(FILE* stream, const std::string& program, const Manual& manual)
{
    std::vector<Manual::Option> options = manual.options;
    options.insert(options.begin(),
                   {"--rounds=N", "number of rounds (" + std::to_string(manual.rounds) + ")"});
    if (!manual.pages.empty()) {
        options.push_back({"--page=NAME", "one page only"});
        options.push_back({"--list", "prints the names of the pages"});
    }
    options.push_back({"--help", "prints this text"});
    std::fprintf(stream, "%s: %s\n\n", program.c_str(), manual.purpose.c_str());
    for (const Manual::Option& option : options)
        std::fprintf(stream, "  %-15s  %s\n", option.form.c_str(), option.meaning.c_str());
}

// Returns whether the argument is of the option's form. A value in capitals, as in "--scale=N", means any
// value.
bool HasForm(const std::string& argument, const std::string& form)
{
    const size_t value = form.find('=') + 1;
    const bool is_any = value > 0 && form[value] >= 'A' && form[value] <= 'Z';
    return is_any ? argument.starts_with(form.substr(0, value)) : argument == form;
}

bool IsKnown(const std::string& argument, const Manual& manual)
{
    const std::string rounds = "--rounds=", page = "--page=";
    if (argument.starts_with(rounds)) {
        int number = 0;
        const char* const end = argument.data() + argument.size();
        const auto [parsed, error] = std::from_chars(argument.data() + rounds.size(), end, number);
        return error == std::errc() && parsed == end && number >= 1;
    }
    if (argument.starts_with(page))
        return std::find(manual.pages.begin(), manual.pages.end(), argument.substr(page.size())) !=
               manual.pages.end();
    return std::any_of(manual.options.begin(), manual.options.end(),
                       [&](const Manual::Option& option) { return HasForm(argument, option.form); });
}

// Ends the program if an argument asks for information, or is not known.
void AnswerArguments(const std::vector<std::string>& arguments, const std::string& program,
                     const Manual& manual)
{
    for (const std::string& argument : arguments) {
        if (argument == "--help") {
            PrintManual(stdout, program, manual);
            std::exit(0);
        }
        if (argument == "--list" && !manual.pages.empty()) {
            for (const std::string& page : manual.pages)
                std::printf("%s\n", page.c_str());
            std::exit(0);
        }
        if (!IsKnown(argument, manual)) {
            std::fprintf(stderr, "%s: unknown argument %s\n\n", program.c_str(), argument.c_str());
            PrintManual(stderr, program, manual);
            std::exit(2);
        }
    }
}
} // namespace

double NowMs()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

double Percentile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    const auto rank = static_cast<size_t>(std::ceil(share * static_cast<double>(values.size())));
    return values[std::max<size_t>(rank, 1) - 1];
}

std::vector<double> Ratios(const std::vector<double>& of, const std::vector<double>& to)
{
    std::vector<double> ratios;
    std::transform(of.begin(), of.end(), to.begin(), std::back_inserter(ratios), std::divides<>());
    return ratios;
}

std::vector<double> Differences(const std::vector<double>& of, const std::vector<double>& from)
{
    std::vector<double> differences;
    std::transform(of.begin(), of.end(), from.begin(), std::back_inserter(differences), std::minus<>());
    return differences;
}

void Fail(std::string_view what)
{
    std::fflush(stdout);
    std::fprintf(stderr, "FAILED: %.*s\n", static_cast<int>(what.size()), what.data());
    std::exit(1);
}

void Require(bool good, std::string_view what)
{
    if (!good)
        Fail(what);
}

Harness::Harness(int argc, char** argv, const Manual& manual)
    : m_arguments(argv + 1, argv + argc), m_rounds(manual.rounds)
{
    AnswerArguments(m_arguments, std::filesystem::path(argv[0]).filename(), manual);
    if (const std::string_view rounds = Value("rounds"); !rounds.empty())
        std::from_chars(rounds.data(), rounds.data() + rounds.size(), m_rounds);
    if (const char* const slowdown = std::getenv("LUMENTA_BENCH_SLOWDOWN")) {
        m_slowdown = std::strtod(slowdown, nullptr);
        Require(m_slowdown >= 1, "LUMENTA_BENCH_SLOWDOWN must be a number of at least 1");
        std::printf("our times are multiplied by %g\n", m_slowdown);
    }
    if (const char* const path = std::getenv("LUMENTA_BENCH_FIGURES"))
        m_figures_path = path;
}

bool Harness::Has(std::string_view name) const
{
    return std::find(m_arguments.begin(), m_arguments.end(), "--" + std::string{name}) != m_arguments.end();
}

std::string_view Harness::Value(std::string_view name) const
{
    const std::string start = "--" + std::string{name} + "=";
    std::string_view value;
    for (const std::string& argument : m_arguments)
        if (argument.starts_with(start))
            value = std::string_view{argument}.substr(start.size());
    return value;
}

std::vector<double> Harness::Ours(std::vector<double> values) const
{
    for (double& value : values)
        value = Ours(value);
    return values;
}

std::vector<std::vector<double>> Harness::InTurn(const std::vector<Contender>& contenders, Warm warm) const
{
    std::vector<std::vector<double>> times(contenders.size());
    for (int round = -1; round < m_rounds; ++round) // round -1 is not counted
        for (size_t i = 0; i < contenders.size(); ++i) {
            if (warm == Warm::each_run)
                contenders[i].run();
            const double time = contenders[i].run();
            if (round >= 0)
                times[i].push_back(contenders[i].is_ours ? Ours(time) : time);
        }
    return times;
}

void Harness::Report(const std::string& name, const std::vector<double>& values, const char* unit, Goal goal,
                     const std::string& where)
{
    Require(!values.empty(), name + " has no value");
    const double median = Median(values);
    const auto [lowest, highest] = std::minmax_element(values.begin(), values.end());
    const char* const verdict = VerdictOf(median, goal);
    const std::string& place = where.empty() ? m_where : where;
    char spread[64];
    std::snprintf(spread, sizeof spread, "%.4g to %.4g", *lowest, *highest);

    std::printf("%-64s %9.4g %-6s (%s) [%s]", name.c_str(), median, unit, spread, place.c_str());
    if (goal.kind != Goal::Kind::none)
        std::printf("  goal: %s, %s", GoalText(goal).c_str(), verdict);
    std::printf("\n");
    std::fflush(stdout);

    if (std::string_view{verdict} == "missed") {
        char missed[64];
        std::snprintf(missed, sizeof missed, ": %.4g, goal: %s", median, GoalText(goal).c_str());
        m_missed.push_back(name + missed);
    }
    char number[32];
    std::snprintf(number, sizeof number, "%.6g", median);
    Keep("figure\t" + name + "\t" + number + "\t" + spread + "\t" + unit + "\t" + GoalText(goal) + "\t" +
         place + "\t" + verdict);
}

void Harness::Keep(const std::string& line) const
{
    if (m_figures_path.empty())
        return;
    FILE* const figures = std::fopen(m_figures_path.c_str(), "a");
    Require(figures != nullptr, m_figures_path + " cannot be written");
    const bool good = std::fprintf(figures, "%s\n", line.c_str()) > 0;
    Require(std::fclose(figures) == 0 && good, m_figures_path + " cannot be written");
}

void Harness::Report(const std::string& name, double value, const char* unit, Goal goal,
                     const std::string& where)
{
    Report(name, std::vector<double>{value}, unit, goal, where);
}

int Harness::Finish() const
{
    for (const std::string& missed : m_missed)
        std::printf("GOAL MISSED: %s\n", missed.c_str());
    Keep("finished");
    return m_missed.empty() ? 0 : 1;
}
