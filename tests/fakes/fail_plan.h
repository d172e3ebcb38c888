#pragma once
// Told which operations fail, and records every operation asked for.
#include "common/error.h"

#include <QHash>
#include <QString>
#include <QStringList>

class FailPlan {
  public:
    // `operation` fails with `error`: `times` times, or always for -1.
    void failOn(const QString& operation, OpError error = defaultError(), int times = -1);
    void clear(const QString& operation) { m_failures.remove(operation); }
    // Records the call and answers with the error planned for it (none if none is).
    OpError check(const QString& operation);

    const QStringList& calls() const { return m_calls; }
    int count(const QString& operation) const { return static_cast<int>(m_calls.count(operation)); }

    static OpError defaultError() {
        return OpError::make(ErrNo::Failed, QStringLiteral("Injected failure"));
    }

  private:
    struct Failure {
        OpError error;
        int remaining = -1;
    };
    QHash<QString, Failure> m_failures;
    QStringList m_calls;
};
