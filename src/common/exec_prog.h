#pragma once
// Starts a program or opens a document, and tells afterwards whether the process still runs.
#include <QString>
#include <cstdint>

class clsExecProg {
  public:
    clsExecProg();

    // The program file, started as named: blanks in it are part of the name.
    void setProgName(const QString& name) { m_progName = name; }
    // The command line of ProgName (split as a shell would, quotes kept together), or, without
    // ProgName, the document to open with the desktop's handler.
    void setProgParas(const QString& paras) { m_progParas = paras; }
    // The working folder; the user's home folder until set.
    void setWorkDir(const QString& dir) { m_workDir = dir; }
    // The window's show state; kept for callers, no effect here.
    void setWinMode(int32_t mode) { m_winMode = mode; }
    int32_t WinMode() const { return m_winMode; }
    // The last start failed, or IsRunning found no process to ask.
    bool EPError() const { return m_epError; }

    void ExecProg();
    // Whether the program started last still runs. False with EPError set when there is no
    // process to ask (nothing started, or a document handed to the desktop).
    bool IsRunning();

  private:
    QString m_progName;
    QString m_progParas;
    QString m_workDir;
    int32_t m_winMode = 3;
    bool m_epError = false;
    int64_t m_pid = 0;
    // The pid's start time, so a pid that the system gave to another process is told apart.
    uint64_t m_startTicks = 0;
};
