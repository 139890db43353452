#pragma once

#include "files/DetachedThread.h"
#include "files/LocalFile.h"
#include "files/Patience.h"

#include <future>
#include <memory>
#include <optional>

/// The result of `function`, which asks the medium of `url` for something, called on a thread of its own;
/// nothing where it takes longer than the patience with the medium lasts: 3 seconds at most (see Patience).
/// Where the system has no thread left it is called right here, however long it takes.
///
/// A function that takes longer goes on by itself, and what it returns is dropped then: it must own what it
/// uses. Any thread.
template <typename T, typename Function> std::optional<T> askMedium(const QUrl &url, Function function)
{
    using Clock = std::chrono::steady_clock;
    const QByteArray folder = localFolderPath(url);
    const auto limit = Patience::instance().limit(folder, Clock::now());
    if (limit <= limit.zero())
        return std::nullopt;
    const auto promise = std::make_shared<std::promise<T>>();
    std::future<T> answer = promise->get_future();
    const auto ask = [promise, function, folder] {
        T result = function();
        Patience::instance().noteAnswer(folder);
        promise->set_value(std::move(result));
    };
    if (!startDetachedThread(ask))
        return function();
    if (answer.wait_for(limit) != std::future_status::ready) {
        Patience::instance().noteSilence(folder, Clock::now());
        return std::nullopt;
    }
    return answer.get();
}
