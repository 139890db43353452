#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <type_traits>

/// Calls `work` on a thread of its own, which nobody waits for: not even the end of the process. What `work`
/// uses it must own. False if the system has no thread left. Any thread.
///
/// The stack is 8 MiB deep, whatever the user's limits: readers of nested containers count on it.
[[nodiscard]] bool startDetachedThread(std::function<void()> work);

/// How long an answer about a file is waited for.
constexpr std::chrono::seconds FileTimeout(3);

/// The result of `function`, called on a detached thread; nothing if that takes longer than FileTimeout. If the
/// system has no thread left, it is called on this one, however long it takes.
///
/// A function that takes longer goes on by itself, and its result is dropped: it must own what it uses. Any
/// thread.
template <typename Function> std::optional<std::invoke_result_t<Function>> callWithTimeout(Function function)
{
    using Task = std::packaged_task<std::invoke_result_t<Function>()>;
    const auto task = std::make_shared<Task>(std::move(function));
    auto result = task->get_future();
    if (!startDetachedThread([task] { (*task)(); }))
        (*task)();
    if (result.wait_for(FileTimeout) != std::future_status::ready)
        return std::nullopt;
    return result.get();
}
