#include "support/Bench.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace
{

bool allKept = true;

void print(const QStringList &cells)
{
    std::printf("| %s |\n", qPrintable(cells.join(QStringLiteral(" | "))));
    std::fflush(stdout);
}

} // namespace

double Bench::millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Bench::median(std::vector<double> values)
{
    const auto middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

Bench::Medians Bench::alternate(int rounds, const std::function<double()> &floor,
                                const std::function<double()> &measured)
{
    floor();
    measured();
    std::vector<double> floors;
    std::vector<double> values;
    for (int round = 0; round < rounds; ++round) {
        floors.push_back(floor());
        values.push_back(measured());
    }
    return {median(floors), median(values)};
}

QString Bench::milliseconds(double value)
{
    return QStringLiteral("%1 ms").arg(value, 0, 'f', value < 1000 ? 1 : 0);
}

QString Bench::ratio(double value)
{
    return QStringLiteral("%1 x").arg(value, 0, 'f', 2);
}

void Bench::printRow(const QString &benchmark, const QString &floor, const QString &measured,
                     const QString &difference, const QString &limit, bool isKept)
{
    allKept = allKept && isKept;
    print({benchmark, floor, measured, difference, limit,
           isKept ? QStringLiteral("kept") : QStringLiteral("missed")});
}

void Bench::printRow(const QString &benchmark, const QString &floor, const QString &measured,
                     const QString &difference)
{
    print({benchmark, floor, measured, difference, QStringLiteral("none"), QStringLiteral("-")});
}

void Bench::require(bool condition, const QString &text)
{
    if (!condition) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
        std::exit(2);
    }
}

int Bench::exitStatus()
{
    return allKept ? EXIT_SUCCESS : EXIT_FAILURE;
}
