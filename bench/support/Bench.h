#pragma once

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <vector>

/// What the benchmarks share: measuring two things in turn, and the table that they print.
namespace Bench
{

using Clock = std::chrono::steady_clock;

/// Milliseconds from @p start to now.
double millisecondsSince(Clock::time_point start);

double median(std::vector<double> values);

/// Medians of what two functions returned.
struct Medians {
    double floor = 0;
    double measured = 0;

    double ratio() const { return measured / floor; }
    double difference() const { return measured - floor; }
};

/// Calls the two functions in turn, after one round that does not count: whatever slows the
/// machine down for a while slows both.
Medians alternate(int rounds, const std::function<double()> &floor,
                  const std::function<double()> &measured);

/// A number of milliseconds as text for the table.
QString milliseconds(double value);
/// A ratio as text for the table.
QString ratio(double value);

/// Prints one row: what was measured, against which floor, and whether the limit is kept.
void printRow(const QString &benchmark, const QString &floor, const QString &measured,
              const QString &difference, const QString &limit, bool isKept);
/// Prints one row that has no limit.
void printRow(const QString &benchmark, const QString &floor, const QString &measured,
              const QString &difference);

/// Ends the program when something that the measurement relies on is not so.
void require(bool condition, const QString &text);

/// The exit status of a benchmark: failure when a row that was printed missed its limit.
int exitStatus();

} // namespace Bench
