#include "common/wait.h"

#include "ui/user_interaction.h"

#include <QThread>
#include <QTime>

#include <algorithm>

namespace {
double ClockSeconds() {
    return QTime::currentTime().msecsSinceStartOfDay() / 1000.0;
}

// Rests a little between two pumps, so a long wait doesn't keep a core busy.
void RestAtMost(double seconds) {
    const auto ms = static_cast<unsigned long>(std::clamp(seconds * 1000.0, 0.0, 10.0));
    if (ms > 0) QThread::msleep(ms);
}
} // namespace

OpError WaitSeconds(float seconds) {
    return WaitSeconds(seconds, ClockSeconds);
}

OpError WaitSeconds(float seconds, const std::function<double()>& secondsSinceMidnight) {
    const double start = secondsSinceMidnight();
    double now = start;
    do {
        ui().pumpEvents();
        now = secondsSinceMidnight();
        if (now < start) return OpError::make(ErrNo::Overflow, QStringLiteral("Overflow"));
        if (now - start < seconds) RestAtMost(seconds - (now - start));
    } while (now - start < seconds);
    return OpError::none();
}
