// A clock for tests: time stands still until the test moves it, and timers fire as it passes
// their deadlines, in deadline order.
#pragma once

#include <functional>
#include <map>
#include <utility>

#include "clock.h"

namespace tavix::test {

class ManualClock final : public Clock {
  public:
    double now() const override { return now_; }
    TimerId startTimer(double seconds, std::function<void()> fire) override {
        const TimerId id = nextId_++;
        timers_.emplace(id, Timer{now_ + seconds, std::move(fire)});
        return id;
    }
    void cancelTimer(TimerId id) override { timers_.erase(id); }

    // Moves time forward to t, firing every timer whose deadline is at or before t.
    void setNow(double t) {
        for (;;) {
            auto due = timers_.end();
            for (auto it = timers_.begin(); it != timers_.end(); ++it) {
                if (it->second.deadline <= t &&
                    (due == timers_.end() || it->second.deadline < due->second.deadline)) {
                    due = it;
                }
            }
            if (due == timers_.end()) {
                break;
            }
            now_ = due->second.deadline;
            auto fire = std::move(due->second.fire);
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
