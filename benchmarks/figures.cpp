#include "figures.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <optional>

#include <unistd.h>

namespace {

constexpr int ExitNotGood = 1;
constexpr int ExitNothingMatches = 3;

struct Result
{
    double ours;
    double reference; // 0 without one
    double score;     // what the limit is about
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const auto middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// Both sides run in each round, and the first one changes, so that a machine that gets slower or
// warmer in the meantime favours neither. Empty where one of them could not be measured.
std::optional<Result> measure(const Figure &figure)
{
    std::vector<double> ours;
    std::vector<double> reference;
    std::vector<double> scores;
    for (int round = 0; round < figure.rounds; ++round) {
        const bool oursFirst = round % 2 == 0;
        if (oursFirst) {
            ours.push_back(figure.ours());
        }
        if (figure.reference) {
            reference.push_back(figure.reference());
        }
        if (!oursFirst) {
            ours.push_back(figure.ours());
        }
        scores.push_back(figure.reference ? ours.back() / reference.back() : ours.back());
        if (!std::isfinite(scores.back())) {
            return std::nullopt;
        }
    }
    return Result{median(ours), figure.reference ? median(reference) : 0, median(scores)};
}

// Whether the figure is as it should be.
bool print(const Figure &figure, const std::optional<Result> &result)
{
    if (!result) {
        std::printf("%-60s could not be measured  ERROR\n", figure.name.c_str());
        std::fflush(stdout);
        return false;
    }
    const bool isOver = result->score > figure.limit;
    std::printf("%-60s %10.4f", figure.name.c_str(), result->ours);
    if (figure.reference) {
        std::printf(" %10.4f %-3s %7.2f", result->reference, figure.unit.c_str(), result->score);
    } else {
        std::printf(" %10s %-3s %7s", "-", figure.unit.c_str(), "-");
    }
    if (figure.limit == NoLimit) {
        std::printf(" %8s\n", "-");
    } else {
        std::printf(" %8.2f  %s\n", figure.limit, isOver ? "OVER" : "ok");
    }
    std::fflush(stdout);
    return !isOver;
}

std::string lowerCase(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return text;
}

} // namespace

double secondsOf(const std::function<void()> &work)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double residentMegabytes()
{
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

int runFigures(int argc, char **argv, const std::vector<Figure> &figures)
{
    const std::string wanted = argc > 1 ? lowerCase(argv[1]) : std::string();
    bool allGood = true;
    bool anyMatches = false;
    for (const Figure &figure : figures) {
        if (lowerCase(figure.name).find(wanted) == std::string::npos) {
            continue;
        }
        anyMatches = true;
        allGood &= print(figure, measure(figure));
    }
    if (!anyMatches) {
        return ExitNothingMatches;
    }
    return allGood ? 0 : ExitNotGood;
}
