// A clock for tests: time stands still until the test moves it, and timers fire as it passes
// their deadlines, in deadline order.
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
        timers_.emplace(nextId_, Timer{now_ + seconds, std::move(fire)});
        return nextId_++;
    }
    void cancelTimer(TimerId id) override { timers_.erase(id); }

    void setNow(double t) {
        for (;;) {
            const auto due = std::min_element(timers_.begin(), timers_.end(), [](auto &a, auto &b) {
                return a.second.deadline < b.second.deadline;
            });
            if (due == timers_.end() || due->second.deadline > t) {
                break;
            }
            now_ = due->second.deadline;
            const auto fire = std::move(due->second.fire);
            timers_.erase(due);
            fire();
        }
        now_ = t;
    }
    std::size_t pendingTimers() const { return timers_.size(); }
    // The deadline of the only pending timer, or -1.
    double onlyDeadline() const {
        return timers_.size() == 1 ? timers_.begin()->second.deadline : -1.0;
    }

  private:
    struct Timer {
        double deadline;
        std::function<void()> fire;
    };
    std::map<TimerId, Timer> timers_;
    TimerId nextId_ = 1;
    double now_ = 0.0;
};

}  // namespace tavix::test
