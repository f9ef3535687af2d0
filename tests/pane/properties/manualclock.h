// A test clock: still until moved, firing the timers whose deadlines it passes, in deadline order.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include "clock.h"

namespace tavix::test {

class ManualClock final : public Clock {
  public:
    double now() const override { return now_; }
    TimerId startTimer(double seconds, std::function<void()> fire) override {
        deadlines.emplace(nextId_, std::pair(now_ + seconds, std::move(fire)));
        return nextId_++;
    }
    void cancelTimer(TimerId id) override { deadlines.erase(id); }
    void setNow(double t) {
        const auto earlier = [](auto &a, auto &b) { return a.second.first < b.second.first; };
        for (auto due = std::min_element(deadlines.begin(), deadlines.end(), earlier);
             due != deadlines.end() && due->second.first <= t;
             due = std::min_element(deadlines.begin(), deadlines.end(), earlier)) {
            now_ = due->second.first;
            const auto fire = std::move(due->second.second);
            deadlines.erase(due);
            fire();
        }
        now_ = t;
    }

    std::map<TimerId, std::pair<double, std::function<void()>>> deadlines;  // pending, by start

  private:
    TimerId nextId_ = 1;
    double now_ = 0.0;
};

}  // namespace tavix::test
