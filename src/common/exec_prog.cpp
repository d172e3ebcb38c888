#include "common/exec_prog.h"

#include "ui/user_interaction.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <cerrno>
#include <csignal>
#include <sys/types.h>

namespace {
struct ProcState {
    bool known = false; // /proc could be read
    char state = '?';
    uint64_t startTicks = 0;
};

// State and start time of a process from /proc/<pid>/stat. The command name in parentheses
// may hold blanks and parentheses itself, so the fields are counted from the last ")".
ProcState ReadProcState(int64_t pid) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QByteArray line = file.readAll();
    const qsizetype close = line.lastIndexOf(')');
    if (close < 0) return {};
    // After ")": state is field 3, starttime field 22.
    const QList<QByteArray> fields = line.mid(close + 1).simplified().split(' ');
    ProcState ps;
    ps.known = true;
    if (!fields.isEmpty() && !fields[0].isEmpty()) ps.state = fields[0].at(0);
    if (fields.size() > 19) ps.startTicks = fields[19].toULongLong();
    return ps;
}
} // namespace

clsExecProg::clsExecProg() : m_workDir(QDir::homePath()) {}

void clsExecProg::ExecProg() {
    m_pid = 0;
    m_startTicks = 0;
    if (!m_progName.isEmpty()) {
        qint64 pid = 0;
        const bool started = QProcess::startDetached(
            m_progName, QProcess::splitCommand(m_progParas), m_workDir, &pid);
        m_epError = !started || pid <= 0;
        if (!m_epError) {
            m_pid = pid;
            m_startTicks = ReadProcState(pid).startTicks;
        }
        return;
    }
    // A document: the desktop's handler opens it, and no process of ours comes of it.
    m_epError = m_progParas.isEmpty() || !ui().openWithShell(m_progParas);
}

bool clsExecProg::IsRunning() {
    if (m_pid <= 0) {
        m_epError = true;
        return false;
    }
    if (::kill(static_cast<pid_t>(m_pid), 0) != 0 && errno == ESRCH) return false;
    const ProcState ps = ReadProcState(m_pid);
    if (!ps.known) return true; // no /proc: the signal test alone
    // A zombie has ended; a different start time means the pid now belongs to someone else.
    if (ps.state == 'Z' || ps.state == 'X') return false;
    return m_startTicks == 0 || ps.startTicks == m_startTicks;
}
