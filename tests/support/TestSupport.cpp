#include "TestSupport.h"

#include "platform/FileWalker.h"

#include <QCryptographicHash>
#include <QProcess>
#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <fstream>
#include <memory>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tessoly::test {

std::optional<platform::VolumeAttributes> ScriptedVolumes::attributesOfFileSystem(const std::filesystem::path &) const
{
    ++readings;
    std::optional<qint64> now = free;
    if (free)
        *free += step;
    if (!capacity)
        return std::nullopt;
    if (now && !followedHome.empty())
        *now -= platform::walkTree(followedHome).allocatedBytes;
    return platform::VolumeAttributes{capacity, now, available ? available : now, important ? important : now};
}

namespace fs = std::filesystem;

TempHome::TempHome()
{
    std::string pattern = (fs::temp_directory_path() / "tessoly-home-XXXXXX").native();
    m_path = ::mkdtemp(pattern.data());
    if (const char *old = std::getenv("HOME"))
        m_oldHome = old;
    ::setenv("HOME", m_path.c_str(), 1);
    ::setenv("XDG_DATA_HOME", dataHome().c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (m_path / ".config").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (m_path / ".cache").c_str(), 1);
    ::setenv("XDG_STATE_HOME", (m_path / ".local/state").c_str(), 1);
}

void allocate(const fs::path &file, qint64 bytes)
{
    fs::create_directories(file.parent_path());
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        throw std::runtime_error("can't create " + file.native());
    const int failed = bytes > 0 ? ::posix_fallocate(fd, 0, bytes) : 0;
    ::close(fd);
    if (failed != 0)
        throw std::runtime_error("can't allocate " + file.native());
}

void fillExactly(const fs::path &folder, qint64 bytes)
{
    constexpr qint64 piece = 64LL << 20;
    for (int i = 0; bytes > 0; ++i) {
        const qint64 size = std::min(bytes, piece);
        allocate(folder / ("part-" + std::to_string(i)), size);
        bytes -= size;
    }
}

TempHome::~TempHome()
{
    std::error_code ignored;
    // Test trees may hold read-only folders; make them removable first.
    for (auto it = fs::recursive_directory_iterator(m_path, fs::directory_options::skip_permission_denied, ignored);
         it != fs::recursive_directory_iterator(); it.increment(ignored)) {
        if (it->is_directory(ignored) && !it->is_symlink(ignored))
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(m_path, ignored);
    if (!m_oldHome.empty())
        ::setenv("HOME", m_oldHome.c_str(), 1);
}

namespace {

ProcessRun finish(QProcess &process, const QByteArray &input = {})
{
    ProcessRun run;
    if (!process.waitForStarted(10000))
        return run;
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(120000);
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

} // namespace

ProcessRun runProcess(const QString &program, const QStringList &arguments, const QByteArray &input)
{
    QProcess process;
    process.start(program, arguments);
    return finish(process, input);
}

std::vector<ProcessRun> runTogether(const std::vector<Command> &commands)
{
    std::vector<std::unique_ptr<QProcess>> processes;
    for (const Command &command : commands) {
        processes.push_back(std::make_unique<QProcess>());
        processes.back()->start(command.program, command.arguments);
    }
    std::vector<ProcessRun> runs;
    for (const auto &process : processes)
        runs.push_back(finish(*process));
    return runs;
}

void writeFile(const fs::path &path, const std::string &content)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

void writeExecutable(const fs::path &path, const std::string &script)
{
    writeFile(path, "#!/bin/sh\n" + script);
    fs::permissions(path, fs::perms::owner_all);
}

fs::path fakeSnapshotTool(const fs::path &folder, int count)
{
    std::string listing = "Snapshots for disk /:\n";
    for (int i = 0; i < count; ++i)
        listing += "com.apple.TimeMachine.2026-11-1" + std::to_string(i) + "-010203.local\n";
    writeFile(folder / "listing.txt", listing);
    const fs::path tool = folder / "fake-tmutil";
    writeExecutable(tool, "echo \"$*\" >> '" + (folder / "calls.txt").native() + "'\n[ \"$1\" = listlocalsnapshots ] && cat '"
                              + (folder / "listing.txt").native() + "'\nexit 0\n");
    return tool;
}

std::size_t entriesIn(const fs::path &folder)
{
    std::error_code error;
    std::size_t count = 0;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        ++count;
    return count;
}

std::string readFile(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    return buffer.str();
}

std::string describeTree(const fs::path &root)
{
    std::vector<std::string> lines;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(root, error); it != fs::recursive_directory_iterator();
         it.increment(error)) {
        const fs::path relative = it->path().lexically_relative(root);
        struct stat st{};
        ::lstat(it->path().c_str(), &st);
        std::string line = relative.native() + " mode=" + std::to_string(st.st_mode);
        if (S_ISLNK(st.st_mode)) {
            line += " -> " + fs::read_symlink(it->path()).native();
        } else if (S_ISREG(st.st_mode)) {
            const std::string content = readFile(it->path());
            line += " size=" + std::to_string(content.size()) + " sha="
                + QCryptographicHash::hash(QByteArray::fromStdString(content), QCryptographicHash::Sha256).toHex().toStdString();
        }
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    std::string out;
    for (const auto &line : lines)
        out += line + "\n";
    return out;
}

std::vector<std::filesystem::path> keptCopies(const std::filesystem::path &file)
{
    std::vector<std::filesystem::path> copies;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(file.parent_path(), error)) {
        if (entry.path().filename().native().starts_with(file.filename().native() + ".corrupt-"))
            copies.push_back(entry.path());
    }
    std::sort(copies.begin(), copies.end());
    return copies;
}

bool canMount()
{
    if (::geteuid() != 0)
        return false;
    std::string pattern = (fs::temp_directory_path() / "tessoly-mountprobe-XXXXXX").native();
    const fs::path dir = ::mkdtemp(pattern.data());
    const ProcessRun mounted = runProcess(QStringLiteral("mount"), {"-t", "tmpfs", "-o", "size=1m", "tmpfs", QString::fromStdString(dir.native())});
    if (mounted.exitCode == 0)
        runProcess(QStringLiteral("umount"), {QString::fromStdString(dir.native())});
    fs::remove(dir);
    return mounted.exitCode == 0;
}

} // namespace tessoly::test
