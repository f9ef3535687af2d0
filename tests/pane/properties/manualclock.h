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
        timers_[++lastId_] = {now_ + seconds, std::move(fire)};
        return lastId_;
    }
    void cancelTimer(TimerId id) override { timers_.erase(id); }
    int pending() const { return static_cast<int>(timers_.size()); }
    void setNow(double t) {
        const auto earlier = [](auto &a, auto &b) { return a.second.first < b.second.first; };
        for (auto due = std::min_element(timers_.begin(), timers_.end(), earlier);
             due != timers_.end() && due->second.first <= t;
             due = std::min_element(timers_.begin(), timers_.end(), earlier)) {
            now_ = due->second.first;
            const auto fire = std::move(due->second.second);
            timers_.erase(due);
            fire();
        }
        now_ = t;
    }

  private:
    std::map<TimerId, std::pair<double, std::function<void()>>> timers_;
    TimerId lastId_ = 0;
    double now_ = 0.0;
};

}  // namespace tavix::test
