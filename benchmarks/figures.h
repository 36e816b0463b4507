#pragma once

#include <functional>
#include <limits>
#include <string>
#include <vector>

// What a function returns that could not do its work.
constexpr double Unmeasured = std::numeric_limits<double>::quiet_NaN();

// Of a figure that is only told, because most of it is not ours to change.
constexpr double NoLimit = std::numeric_limits<double>::infinity();

// One measured figure. Each function does its work once and returns what it cost: seconds by
// secondsOf(), or any other quantity of the figure's unit. Nothing is compared with a cost that is
// Unmeasured or nothing at all: that is an error.
struct Figure
{
    std::string name; // "room: what is measured"
    std::string unit; // "s", "ms", "MB"...
    // The highest ratio of ours to the reference; without a reference the highest value of ours.
    double limit;
    std::function<double()> ours;
    std::function<double()> reference; // may be empty
    int rounds = 7;                    // what counts is the median of the rounds
};

// The wall-clock time of one call.
double secondsOf(const std::function<void()> &work);

// The memory that the process holds now, in MB.
double residentMegabytes();

// Measures the figures whose names contain the first argument in any case (all without one),
// prints a line for each and returns the exit code: 1 when a figure is over its limit or could not
// be measured, 3 when no name matches.
int runFigures(int argc, char **argv, const std::vector<Figure> &figures);
