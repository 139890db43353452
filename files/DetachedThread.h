#pragma once

#include <functional>

/// Calls `work` on a thread of its own, which nobody waits for: not even the end of the process. What `work`
/// uses it must own. False where the system has no thread left. Any thread.
///
/// The stack is 8 MiB deep, whatever the user's limits: readers of nested containers count on it.
[[nodiscard]] bool startDetachedThread(std::function<void()> work);
