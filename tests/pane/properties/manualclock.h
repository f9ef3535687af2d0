// A test clock: still until moved, firing the timers whose deadlines it passes, in deadline order.
#pragma once

#include <algorithm>
#include <functional>
#include <map>
#include <utility>

#include <QList>

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
    // The deadlines of the pending timers, in the order they were started.
    QList<double> deadlines() const {
        QList<double> list;
        for (const auto &[id, timer] : timers_) {
            list << timer.deadline;
        }
        return list;
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
