#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QStringList>
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

// File helpers for building trees.
void writeFile(const std::filesystem::path &path, const std::string &content);
[[nodiscard]] std::string readFile(const std::filesystem::path &path);
// A file of exactly `bytes` allocated bytes (a multiple of 4096, at most
// 64 MiB per file so that each stays one extent); folders made as needed.
// Throws when the file system refuses.
void allocate(const std::filesystem::path &file, qint64 bytes);
// Files in a folder adding up to exactly `bytes` allocated bytes.
void fillExactly(const std::filesystem::path &folder, qint64 bytes);
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
