// The time source of the double-click test areas: the current moment and one-shot timers.
// The areas take it as a parameter so that their timing can be driven without waiting.
#pragma once

#include <QObject>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

class QTimer;

namespace tavix {

class Clock {
  public:
    using TimerId = std::uint64_t;

    virtual ~Clock() = default;
    // Seconds on a monotonic scale; only differences are meaningful.
    virtual double now() const = 0;
    // Calls fire once, on the main thread, after the given number of seconds. Never returns 0.
    virtual TimerId startTimer(double seconds, std::function<void()> fire) = 0;
    // Stops a timer that has not fired yet; an unknown or fired id is ignored.
    virtual void cancelTimer(TimerId id) = 0;
};

// The steady system clock with Qt timers on the calling thread's event loop.
class SteadyClock final : public Clock {
  public:
    SteadyClock();
    ~SteadyClock() override;
    double now() const override;
    TimerId startTimer(double seconds, std::function<void()> fire) override;
    void cancelTimer(TimerId id) override;

  private:
    std::map<TimerId, std::unique_ptr<QTimer>> timers_;
    TimerId nextId_ = 1;
};

}  // namespace tavix
