#include "clock.h"

#include <QTimer>

#include <algorithm>

#include <chrono>
#include <cmath>
#include <utility>

namespace tavix {

SteadyClock::SteadyClock() = default;
SteadyClock::~SteadyClock() = default;

double SteadyClock::now() const {
    using Seconds = std::chrono::duration<double>;
    return std::chrono::duration_cast<Seconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

Clock::TimerId SteadyClock::startTimer(double seconds, std::function<void()> fire) {
    const TimerId id = nextId_++;
    auto timer = std::make_unique<QTimer>();
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    const double ms = std::isfinite(seconds) ? std::clamp(seconds * 1000.0, 0.0, 2.0e9) : 0.0;
    timer->setInterval(static_cast<int>(std::lround(ms)));
    QObject::connect(timer.get(), &QTimer::timeout, timer.get(),
                     [this, id, fire = std::move(fire)] {
                         // Forget the timer before calling out: the callback may start a new one.
                         // The QTimer is deleted later, as it is still emitting.
                         auto it = timers_.find(id);
                         if (it == timers_.end()) {
                             return;
                         }
                         it->second.release()->deleteLater();
                         timers_.erase(it);
                         fire();
                     });
    timer->start();
    timers_.emplace(id, std::move(timer));
    return id;
}

void SteadyClock::cancelTimer(TimerId id) {
    timers_.erase(id);
}

}  // namespace tavix
