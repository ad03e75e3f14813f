#pragma once
// Waiting on the main thread for background work while its event loop runs.

#include <QCoreApplication>

#include <chrono>
#include <thread>

namespace tests {

/// Runs the event loop until `done` holds; false when that takes longer than `longest`.
template <class Done>
bool WaitUntil(Done done, std::chrono::milliseconds longest = std::chrono::minutes(1)) {
    const auto end = std::chrono::steady_clock::now() + longest;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace tests
