#pragma once
// Runs a test under a given local time zone (a POSIX TZ rule, so no zone database is needed).
#include <QByteArray>

#include <cstdlib>
#include <ctime>

class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const char* tz) {
        const char* old = std::getenv("TZ");
        m_hadOld = old != nullptr;
        if (m_hadOld) m_old = old;
        setenv("TZ", tz, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (m_hadOld)
            setenv("TZ", m_old.constData(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

  private:
    bool m_hadOld = false;
    QByteArray m_old;
};

// Central Europe: UTC+1, summer time UTC+2 from the last Sunday of March to that of October.
inline constexpr const char* kBerlinRule = "CET-1CEST,M3.5.0,M10.5.0/3";
