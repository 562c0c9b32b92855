#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>
#include "platform/Revealer.h"
#include "platform/VolumeInfo.h"
#include <filesystem>
#include <string>
#include <vector>

namespace tessoly::test {

// A temporary home folder: HOME and the XDG_*_HOME variables point
// into it for the object's life, and it is removed afterwards.
class TempHome {
public:
    TempHome();
    ~TempHome();
    TempHome(const TempHome &) = delete;
    TempHome &operator=(const TempHome &) = delete;

    [[nodiscard]] const std::filesystem::path &path() const { return m_path; }
    [[nodiscard]] std::filesystem::path dataHome() const { return m_path / ".local/share"; }
    [[nodiscard]] std::filesystem::path cacheHome() const { return m_path / ".cache"; }
    [[nodiscard]] std::filesystem::path trash() const { return dataHome() / "Trash"; }
    [[nodiscard]] std::filesystem::path historyFile() const { return dataHome() / "com.tessoly.app/history.json"; }
    [[nodiscard]] std::filesystem::path defaultsFile() const { return m_path / ".config/com.tessoly.app/defaults.json"; }

private:
    std::filesystem::path m_path;
    std::string m_oldHome;
};

// A child process run to its end.
struct ProcessRun {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};
ProcessRun runProcess(const QString &program, const QStringList &arguments, const QByteArray &input = {});
// Several child processes started together and each run to its end; results in the order given.
struct Command {
    QString program;
    QStringList arguments;
};
std::vector<ProcessRun> runTogether(const std::vector<Command> &commands);
#ifdef TESSOLY_BINARY
// The real tessoly program, run in the current (temporary) home.
inline ProcessRun runTessoly(const QStringList &arguments, const QByteArray &input = {})
{
    return runProcess(QStringLiteral(TESSOLY_BINARY), arguments, input);
}
#endif
[[nodiscard]] inline QJsonObject jsonObject(const QByteArray &json) { return QJsonDocument::fromJson(json).object(); }
[[nodiscard]] inline QJsonArray jsonArray(const QByteArray &json) { return QJsonDocument::fromJson(json).array(); }
// The first object of a JSON array whose `key` holds `value` (empty when none does).
[[nodiscard]] inline QJsonObject rowWhere(const QJsonArray &rows, const QString &key, const QString &value)
{
    for (const QJsonValue &row : rows)
        if (row.toObject().value(key).toString() == value)
            return row.toObject();
    return {};
}
[[nodiscard]] inline QString qtPath(const std::filesystem::path &path) { return QString::fromStdString(path.native()); }

// An environment variable set (or, with a null value, unset) for the object's life.
struct EnvOverride {
    EnvOverride(const char *name, const QByteArray &value)
        : name(name)
        , old(qEnvironmentVariableIsSet(name) ? qgetenv(name) : QByteArray())
    {
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    ~EnvOverride() { old.isNull() ? qunsetenv(name) : qputenv(name, old); }
    EnvOverride(const EnvOverride &) = delete;
    EnvOverride &operator=(const EnvOverride &) = delete;
    const char *name;
    QByteArray old;
};

// Volume figures a test sets; each reading adds `step` to the free space
// (so a clean doesn't change them unless told to). With a followed home, its
// files take their room out of the free figures, as on a real disk: deleting
// frees it, moving to the Trash doesn't.
class ScriptedVolumes final : public platform::VolumeInfo {
public:
    std::optional<qint64> capacity = 500'000'000'000; // none: the reading fails
    mutable std::optional<qint64> free = 100'000'000'000;
    qint64 step = 0;
    std::optional<qint64> available, important; // the free space unless set
    std::filesystem::path followedHome;
    mutable int readings = 0;
    std::optional<platform::VolumeAttributes> attributesOfFileSystem(const std::filesystem::path &) const override;
};

// Remembers what it was asked to show.
class RecordingRevealer final : public platform::Revealer {
public:
    std::vector<std::filesystem::path> revealed;
    void reveal(const std::filesystem::path &item) override { revealed.push_back(item); }
};

// File helpers for building trees.
void writeFile(const std::filesystem::path &path, const std::string &content);
[[nodiscard]] std::string readFile(const std::filesystem::path &path);
// A file of exactly `bytes` allocated bytes (a multiple of 4096, at most
// 64 MiB per file so that each stays one extent); folders made as needed.
// Throws when the file system refuses.
void allocate(const std::filesystem::path &file, qint64 bytes);
// Files in a folder adding up to exactly `bytes` allocated bytes.
void fillExactly(const std::filesystem::path &folder, qint64 bytes);
// A shell script made executable ("#!/bin/sh" is added).
void writeExecutable(const std::filesystem::path &path, const std::string &script);
// A stand-in for the snapshot tool in `folder`: lists `count` snapshots and
// appends each call's arguments to folder/calls.txt.
std::filesystem::path fakeSnapshotTool(const std::filesystem::path &folder, int count);
// The number of entries in a folder (0 when it is missing).
[[nodiscard]] std::size_t entriesIn(const std::filesystem::path &folder);
// A listing of a tree (relative path, type, size, content digest) to compare two trees.
[[nodiscard]] std::string describeTree(const std::filesystem::path &root);

// The copies of a file Tessoly kept aside as "<file>.corrupt-<time>", oldest name first.
[[nodiscard]] std::vector<std::filesystem::path> keptCopies(const std::filesystem::path &file);

// True when this process may mount file systems (root in a permissive sandbox).
[[nodiscard]] bool canMount();

// Drives a coroutine to completion.
template <typename T>
T runTask(QCoro::Task<T> task)
{
    return QCoro::waitFor(std::move(task));
}

} // namespace tessoly::test
