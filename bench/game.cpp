// Started in place of Wine. Writes the time of its start, in nanoseconds of the steady clock, to
// the file that ZEL_BENCH_STAMP names.

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    std::FILE *file = std::fopen(std::getenv("ZEL_BENCH_STAMP"), "w");
    std::fprintf(file, "%lld", static_cast<long long>(std::chrono::nanoseconds(now).count()));
    return std::fclose(file);
}
