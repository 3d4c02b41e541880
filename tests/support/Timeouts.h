#pragma once

/// How long tests wait at most for what must happen: far longer than it takes on a busy machine,
/// because only a failing test waits so long. In milliseconds.
namespace Timeouts
{

/// For what this process does by itself, and for an answer of a server on this machine.
constexpr int replyMs = 30'000;
/// For another program: until it has started, shown a window, or ended.
constexpr int programMs = 60'000;

} // namespace Timeouts
