#pragma once

#include <chrono>
#include <future>
#include <optional>
#include <system_error>
#include <thread>

/// The result of `function`, called on a thread of its own; nothing where it takes longer than `limit` or
/// there is no thread left. A call that takes longer goes on by itself, and what it returns is dropped then:
/// it must own what it uses.
template <typename T, typename Function>
std::optional<T> callWithin(std::chrono::milliseconds limit, Function function)
{
    std::promise<T> promise;
    std::future<T> future = promise.get_future();
    try {
        std::thread([promise = std::move(promise), function = std::move(function)]() mutable {
            promise.set_value(function());
        }).detach();
    } catch (const std::system_error &) {
        return std::nullopt;
    }
    if (future.wait_for(limit) != std::future_status::ready)
        return std::nullopt;
    return future.get();
}
