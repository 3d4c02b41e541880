#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <vector>

/// Helpers of the benchmarks: alternating measurements, and the table of results.
namespace Bench
{

using Clock = std::chrono::steady_clock;

/// Milliseconds from @p start to now.
double millisecondsSince(Clock::time_point start);

double median(std::vector<double> values);

/// Medians of the results of two functions.
struct Medians {
    double floor = 0;
    double measured = 0;

    double ratio() const { return measured / floor; }
    double difference() const { return measured - floor; }
};

/// Calls the two functions in turn, so that a slow phase of the machine affects both. The first
/// round is a warm-up.
Medians alternate(int rounds, const std::function<double()> &floor,
                  const std::function<double()> &measured);

/// A number of milliseconds as text for the table.
QString milliseconds(double value);
/// A ratio as text for the table.
QString ratio(double value);

/// Prints one row, with the verdict whether the limit is met.
void printRow(const QString &benchmark, const QString &floor, const QString &measured,
              const QString &difference, const QString &limit, bool isKept);
/// Prints one row that has no limit.
void printRow(const QString &benchmark, const QString &floor, const QString &measured,
              const QString &difference);

/// Exits with the message @p text unless @p condition holds.
void require(bool condition, const QString &text);

/// The exit status of a benchmark: failure if a printed row missed its limit.
int exitStatus();

} // namespace Bench
