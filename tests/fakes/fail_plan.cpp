#include "fakes/fail_plan.h"

void FailPlan::failOn(const QString& operation, OpError error, int times) {
    m_failures.insert(operation, Failure{std::move(error), times});
}

OpError FailPlan::check(const QString& operation) {
    m_calls << operation;
    auto it = m_failures.find(operation);
    if (it == m_failures.end() || it->remaining == 0) return {};
    if (it->remaining > 0) --it->remaining;
    return it->error;
}
