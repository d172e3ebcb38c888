#pragma once
// The five data files: records one after the other, no header. LoadData fills the arrays at
// start; SaveData writes back each file whose changed flag is set, by a temporary file, sync and
// rename, so a crash never leaves a truncated file.
#include "data/defaults.h"
#include "data/records.h"

#include <QByteArray>
#include <QString>

#include <functional>

// ".rls", ".prj", ".fld", ".prt", ".ble": the file in the data folder.
QString DataFilePath(const QString& extension);

// Loads rules, projects, folders, protocol and blocked formats, in that order. Missing files
// get the defaults (in memory only; the blocked formats are written at once). `inbox` gives
// the default inbox for a missing folder file.
void LoadData(const InboxLookup& inbox);
void SaveData();

// Exact byte images of the records.
QByteArray EncodeRule(const udtRule& r);
QByteArray EncodeProject(const udtProject& p);
QByteArray EncodeWatchFolder(const udtWatchFolder& w);
QByteArray EncodeProtoEntry(const udtProtoEntry& e);
QByteArray EncodeBlockedFormat(const udtBlockedFormat& b);
// `data` holds at least the record size.
udtRule DecodeRule(const char* data);
udtProject DecodeProject(const char* data);
udtWatchFolder DecodeWatchFolder(const char* data);
udtProtoEntry DecodeProtoEntry(const char* data);
udtBlockedFormat DecodeBlockedFormat(const char* data);

// Writes `bytes` to `path` through a temporary file in the same folder, synced and renamed
// over the old file. False (and the old file untouched) on any failure, with the reason in `why`.
bool ReplaceFileAtomically(const QString& path, const QByteArray& bytes, QString* why = nullptr);
// The same for content made piece by piece: `produce` hands each piece to the writer it gets,
// which answers false once writing failed.
using PieceWriter = std::function<bool(const QByteArray& piece)>;
bool ReplaceFileAtomically(const QString& path,
                           const std::function<bool(const PieceWriter&)>& produce,
                           QString* why = nullptr);
