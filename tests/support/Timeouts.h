#pragma once

/// Timeouts in milliseconds, much longer than needed on a busy machine: only failing tests reach
/// them.
namespace Timeouts
{

/// For this process, and for answers of a local server.
constexpr int replyMs = 30'000;
/// For other programs to start, show a window, or end.
constexpr int programMs = 60'000;

} // namespace Timeouts
