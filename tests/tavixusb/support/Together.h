#pragma once
// Several operations at the same time, over and over.

#include "Base/GCException.h"

#include <functional>
#include <thread>
#include <vector>

/// How often Together runs each operation.
inline constexpr int kRounds = 200;

/// Runs all at the same time, each over and over; a state that does not fit is part of the game.
inline void Together(const std::vector<std::function<void()>>& operations, int rounds = kRounds) {
    std::vector<std::thread> threads;
    for (const auto& operation : operations) {
        threads.emplace_back([&operation, rounds] {
            for (int i = 0; i < rounds; ++i) {
                try {
                    operation();
                } catch (const GenICam::GenericException&) {
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
