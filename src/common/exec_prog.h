#pragma once
// Starts a program or opens a document, and tells afterwards whether the process still runs.
#include <QString>
#include <cstdint>

class clsExecProg {
public:
    clsExecProg();

    void setProgName(const QString& name) { m_progName = name; }
    // The command line of ProgName, or, without ProgName, the document to open.
    void setProgParas(const QString& paras) { m_progParas = paras; }
    void setWorkDir(const QString& dir) { m_workDir = dir; }
    void setWinMode(int32_t mode) { m_winMode = mode; }
    int32_t WinMode() const { return m_winMode; }
    // The last start failed.
    bool EPError() const { return m_epError; }

    void ExecProg();
    bool IsRunning();

private:
    QString m_progName;
    QString m_progParas;
    QString m_workDir;
    int32_t m_winMode = 3;
    bool m_epError = false;
    int64_t m_pid = 0;
};
