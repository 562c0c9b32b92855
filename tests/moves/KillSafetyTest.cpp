// The real `tessoly move` killed with SIGKILL at each stage of a move, by
// its progress lines and, precisely, inside the system calls it makes
// (strace injects the signal). Whenever it dies, the user's data must be
// whole somewhere: at the source path, under the staging name, or - once
// the link stands - on the drive.
#include "MovesSupport.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <map>
#include <signal.h>

using namespace tessoly;
using namespace tessoly::test;
namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 1000;
enum class Where { Source, Pending, Linked };

struct KillSafety : ::testing::Test {
    TempHome home;
    ExternalRoot root;
    std::unique_ptr<LoopDrive> drive;
    int trees = 0;

    void SetUp() override
    {
        SKIP_UNLESS_MOUNTABLE();
        drive = std::make_unique<LoopDrive>(root.path(), "KillDrive", "ext4", 96, "KillDrive");
        ASSERT_TRUE(drive->ok()) << drive->error();
        qputenv("TESSOLY_EXTERNAL_ROOTS", QByteArray::fromStdString(root.path().native()));
        // LeakSanitizer can't stop the world under ptrace; leaks are checked elsewhere.
        qputenv("ASAN_OPTIONS", "detect_leaks=0");
    }
    void TearDown() override
    {
        qunsetenv("TESSOLY_EXTERNAL_ROOTS");
        qunsetenv("ASAN_OPTIONS");
    }

    fs::path storage() const { return drive->mountPoint() / "Tessoly Storage"; }
    // A few thousand small files in nested folders, with a link and an empty folder.
    fs::path makeTree(std::string *signature)
    {
        const fs::path tree = home.path() / "Work" / ("tree" + std::to_string(++trees));
        for (int i = 0; i < kFiles; ++i)
            writeFile(tree / ("d" + std::to_string(i % 25)) / ("s" + std::to_string(i % 3)) / ("f" + std::to_string(i)),
                std::string(static_cast<std::size_t>(100 + i % 900), static_cast<char>('a' + i % 26)));
        fs::create_directories(tree / "empty");
        fs::create_symlink("d1/s1/f1", tree / "link");
        *signature = treeSignature(tree);
        return tree;
    }

    QStringList moveArguments(const fs::path &tree) const
    {
        return {QStringLiteral(TESSOLY_BINARY), "move", QString::fromStdString(tree.native()), "--to",
            QString::fromStdString(drive->mountPoint().native()), "--yes"};
    }

    // Runs a command; kills it (SIGKILL) when a stderr line starts with killOn.
    // Returns the exit code, -1 for a killed process.
    int run(const QStringList &command, const QString &killOn = {}, int killAfterMs = -1)
    {
        QProcess process;
        process.start(command.first(), command.mid(1));
        EXPECT_TRUE(process.waitForStarted(10000));
        process.closeWriteChannel();
        QElapsedTimer clock;
        clock.start();
        bool killed = false;
        lastErr.clear();
        while (process.state() != QProcess::NotRunning && clock.elapsed() < 120000) {
            process.waitForReadyRead(killAfterMs >= 0 ? 5 : 50);
            lastErr += process.readAllStandardError();
            (void)process.readAllStandardOutput();
            const bool lineSeen = !killOn.isEmpty() && ("\n" + lastErr).contains("\n" + killOn.toUtf8());
            if (!killed && (lineSeen || (killAfterMs >= 0 && clock.elapsed() >= killAfterMs)))
                killed = ::kill(static_cast<pid_t>(process.processId()), SIGKILL) == 0;
        }
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            ADD_FAILURE() << "the move didn't end in time";
        }
        process.waitForFinished(10000);
        lastErr += process.readAllStandardError();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    QByteArray lastErr;
    // The invariant after a kill, then the leftovers cleared for the next run.
    Where expectNothingLost(const fs::path &tree, const std::string &before)
    {
        const fs::path copy = storage() / tree.filename();
        std::vector<fs::path> pending = pendingEntries(tree.parent_path());
        Where where = Where::Source;
        std::error_code error;
        const fs::file_status status = fs::symlink_status(tree, error);
        if (fs::is_directory(status)) {
            EXPECT_EQ(treeSignature(tree), before) << "the original was changed";
            EXPECT_TRUE(pending.empty());
        } else {
            // Gone from its place (under the staging name) or replaced by the link.
            where = fs::exists(status) ? Where::Linked : Where::Pending;
            EXPECT_EQ(treeSignature(copy), before) << "the original stepped aside before the copy was whole";
            if (where == Where::Linked) {
                EXPECT_EQ(fs::read_symlink(tree, error), copy);
            }
            EXPECT_TRUE(where == Where::Linked ? pending.size() <= 1 : pending.size() == 1)
                << "the original is neither at its place nor under a staging name";
            for (const fs::path &p : pending) {
                EXPECT_TRUE(isPendingName(p)) << p;
                EXPECT_EQ(treeSignature(p), before);
            }
        }
        // Whatever is left of the copy can be removed.
        fs::remove_all(copy, error);
        EXPECT_FALSE(error) << error.message();
        if (fs::is_symlink(fs::symlink_status(tree)))
            fs::remove(tree);
        for (const fs::path &p : pending)
            fs::remove_all(p);
        fs::remove_all(tree, error);
        fs::remove_all(home.trash(), error);
        return where;
    }
};

// A call to kill the program in, as strace's fault injection names it, and
// where the data must be then.
struct Shot {
    QString call;
    int when; // the call's number among the calls of that name in its thread
    Where expected;
};

} // namespace

TEST_F(KillSafety, KilledAtEachStageTheDataIsAlwaysWholeSomewhere)
{
    // A whole move first: it succeeds, and the drive's grant is made.
    std::string before;
    fs::path tree = makeTree(&before);
    ASSERT_EQ(run(moveArguments(tree)), 0) << lastErr.toStdString();
    EXPECT_TRUE(lastErr.contains("Verifying the copy…\nCreating the symlink…\nFinalizing…\n")) << lastErr.toStdString();
    EXPECT_EQ(expectNothingLost(tree, before), Where::Linked);

    for (const QString stage : {"Copying ", "Verifying the copy…", "Creating the symlink…", "Finalizing…"}) {
        tree = makeTree(&before);
        const int code = run(moveArguments(tree), stage);
        SCOPED_TRACE(stage.toStdString() + " exit " + std::to_string(code) + ": " + lastErr.toStdString());
        EXPECT_TRUE(lastErr.contains(stage.toUtf8()));
        expectNothingLost(tree, before);
    }
    // And at moments nobody chose.
    for (int i = 0; i < 3; ++i) {
        tree = makeTree(&before);
        const int delay = 100 + static_cast<int>(QRandomGenerator::global()->bounded(600));
        const int code = run(moveArguments(tree), {}, delay);
        SCOPED_TRACE("killed after " + std::to_string(delay) + " ms, exit " + std::to_string(code));
        expectNothingLost(tree, before);
    }
}

TEST_F(KillSafety, KilledInsideTheSystemCallsOfEachStep)
{
    if (runProcess("strace", {"-V"}).exitCode != 0)
        GTEST_SKIP() << "strace isn't installed";
    // A traced whole move tells which calls the program really makes.
    std::string before;
    fs::path tree = makeTree(&before);
    const fs::path log = home.path() / "trace.log";
    QStringList traced{"strace", "-f", "-qq", "-o", QString::fromStdString(log.native()), "-e",
        "trace=copy_file_range,sendfile,renameat2,rename,renameat,symlink,symlinkat"};
    ASSERT_EQ(run(traced + moveArguments(tree)), 0) << lastErr.toStdString();
    const QString source = QString::fromStdString(tree.native());
    int copyCalls = 0;
    QString copyCall;
    std::optional<Shot> renameAside, link;
    std::map<QString, int> calls; // "thread call" -> how many so far
    static const QRegularExpression pattern("^(\\d+)\\s+([a-z_0-9]+)\\(");
    for (const QString &line : QString::fromStdString(readFile(log)).split('\n')) {
        const QRegularExpressionMatch match = pattern.match(line);
        if (!match.hasMatch())
            continue;
        const QString call = match.captured(2);
        const int when = ++calls[match.captured(1) + " " + call];
        if ((call == "copy_file_range" || call == "sendfile") && !line.contains("= -1")) {
            if (copyCall.isEmpty())
                copyCall = call;
            copyCalls += call == copyCall ? 1 : 0;
        }
        const bool onSource = line.contains("\"" + source + "\"");
        if (onSource && call.startsWith("rename") && line.contains(".tessoly-pending."))
            renameAside = Shot{call, when, Where::Source};
        if (onSource && call.startsWith("symlink"))
            link = Shot{call, when, Where::Pending};
    }
    EXPECT_EQ(expectNothingLost(tree, before), Where::Linked);
    ASSERT_GT(copyCalls, kFiles / 2) << "no data copy calls seen";
    ASSERT_TRUE(renameAside.has_value()) << "the rename aside wasn't seen";
    ASSERT_TRUE(link.has_value()) << "the link wasn't seen";

    const std::vector<Shot> shots{{copyCall, 1, Where::Source}, {copyCall, copyCalls / 2, Where::Source},
        {copyCall, copyCalls, Where::Source}, *renameAside, *link};
    for (const Shot &shot : shots) {
        tree = makeTree(&before);
        const QString inject = QStringLiteral("inject=%1:signal=SIGKILL:when=%2").arg(shot.call).arg(shot.when);
        const int code
            = run(QStringList{"strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=" + shot.call, "-e", inject}
                + moveArguments(tree));
        SCOPED_TRACE(inject.toStdString() + " exit " + std::to_string(code));
        EXPECT_NE(code, 0) << "the process wasn't killed";
        EXPECT_EQ(expectNothingLost(tree, before), shot.expected);
    }
}
