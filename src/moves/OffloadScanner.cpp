#include "moves/OffloadScanner.h"

#include "platform/PathText.h"
#include "platform/AtomicFile.h"
#include "platform/FileWalker.h"
#include "platform/Locations.h"

#include <QCoroFuture>
#include <QXmlStreamReader>
#include <QtConcurrent>
#include <atomic>
#include <sys/stat.h>

namespace tessoly {
namespace fs = std::filesystem;

QString offloadSymbol(const QString &category)
{
    static const QHash<QString, QString> symbols{
        {QStringLiteral("iPhone backup"), QStringLiteral("iphone.gen3")},
        {QStringLiteral("Xcode archives"), QStringLiteral("shippingbox")},
        {QStringLiteral("Movies"), QStringLiteral("film")},
        {QStringLiteral("Music"), QStringLiteral("music.note")},
        {QStringLiteral("Pictures"), QStringLiteral("photo")},
        {QStringLiteral("Downloads"), QStringLiteral("arrow.down.circle")},
        {QStringLiteral("Desktop"), QStringLiteral("menubar.dock.rectangle")},
    };
    return symbols.value(category, QStringLiteral("folder"));
}

namespace {

// A real folder: not a link (already moved), not a package (an app or a
// library), and not in a synced cloud folder (Linux has none to ask).
bool isEligible(const fs::path &folder)
{
    struct stat st{};
    if (::lstat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        return false;
    return !platform::isPackageName(folder.filename().native());
}

std::optional<OffloadCandidate> evaluate(const fs::path &folder, const QString &category, const QString &displayName,
                                         const QDateTime &now)
{
    std::atomic<qint64> newest{std::numeric_limits<qint64>::min()};
    platform::WalkOptions options;
    options.fileDetails = true;
    options.onFile = [&newest](const platform::WalkedFile &file) {
        qint64 seen = newest.load(std::memory_order_relaxed);
        while (file.modifiedSeconds > seen && !newest.compare_exchange_weak(seen, file.modifiedSeconds)) {
        }
    };
    const platform::WalkTotals totals = platform::walkTree(folder, options);
    if (totals.allocatedBytes < OffloadScanner::minimumBytes || totals.files == 0)
        return std::nullopt;
    const QDateTime lastUsed = QDateTime::fromSecsSinceEpoch(newest.load(), Qt::UTC);
    if (lastUsed.secsTo(now) < OffloadScanner::staleSeconds)
        return std::nullopt;
    return OffloadCandidate{folder, totals.allocatedBytes, lastUsed, category, displayName};
}

// "Display Name", else "Device Name", of a backup's Info.plist (XML form).
std::optional<QString> backupName(const fs::path &backup)
{
    const platform::FileContents contents = platform::readWholeFile(backup / "Info.plist");
    if (!contents.ok)
        return std::nullopt;
    QXmlStreamReader xml(contents.data);
    QHash<QString, QString> strings;
    int depth = 0;
    QString key;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++depth;
            // Only the keys of the top dictionary (plist > dict > key) count.
            if (depth == 3 && xml.name() == QLatin1String("key")) {
                key = xml.readElementText();
                --depth;
            } else if (depth == 3 && xml.name() == QLatin1String("string") && !key.isEmpty()) {
                strings.insert(key, xml.readElementText());
                key.clear();
                --depth;
            } else if (depth == 3) {
                key.clear();
            }
        } else if (token == QXmlStreamReader::EndElement) {
            --depth;
        }
    }
    if (xml.hasError())
        return std::nullopt;
    for (const char *name : {"Display Name", "Device Name"})
        if (const auto found = strings.constFind(QLatin1String(name)); found != strings.constEnd())
            return found.value();
    return std::nullopt;
}

} // namespace

OffloadScanner::OffloadScanner(fs::path home, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
{
}

std::vector<OffloadCandidate> OffloadScanner::findCandidates(const fs::path &home, const QDateTime &now)
{
    std::vector<OffloadCandidate> found;
    const auto consider = [&](const fs::path &folder, const QString &category, const QString &name) {
        if (isEligible(folder))
            if (auto candidate = evaluate(folder, category, name, now))
                found.push_back(std::move(*candidate));
    };
    for (const char *top : {"Documents", "Desktop", "Downloads", "Movies", "Music", "Pictures"})
        for (const fs::path &child : platform::listVisibleEntries(platform::locate(top, home)))
            consider(child, QString::fromLatin1(top), pathToText(child.filename()));
    for (const fs::path &backup : platform::listVisibleEntries(home / "Library/Application Support/MobileSync/Backup"))
        consider(backup, QStringLiteral("iPhone backup"), backupName(backup).value_or(pathToText(backup.filename())));
    consider(home / "Library/Developer/Xcode/Archives", QStringLiteral("Xcode archives"), QStringLiteral("Xcode Archives"));
    std::stable_sort(found.begin(), found.end(),
                     [](const OffloadCandidate &a, const OffloadCandidate &b) { return a.bytes > b.bytes; });
    return found;
}

QVariantList OffloadScanner::candidateList() const
{
    QVariantList list;
    for (const OffloadCandidate &candidate : m_candidates) {
        list.append(QVariantMap{
            {QStringLiteral("url"), pathToText(candidate.url)},
            {QStringLiteral("displayPath"), displayPath(candidate.url)},
            {QStringLiteral("bytes"), candidate.bytes},
            {QStringLiteral("lastUsed"), candidate.lastUsed.value_or(QDateTime())},
            {QStringLiteral("category"), candidate.category},
            {QStringLiteral("displayName"), candidate.displayName},
            {QStringLiteral("symbol"), offloadSymbol(candidate.category)},
        });
    }
    return list;
}

QCoro::Task<void> OffloadScanner::scan()
{
    if (m_isScanning)
        co_return;
    m_isScanning = true;
    emit isScanningChanged();
    const QDateTime now = QDateTime::currentDateTimeUtc();
    m_candidates = co_await QtConcurrent::run(&OffloadScanner::findCandidates, m_home, now);
    emit candidatesChanged();
    if (!m_hasScanned) {
        m_hasScanned = true;
        emit hasScannedChanged();
    }
    m_isScanning = false;
    emit isScanningChanged();
}

void OffloadScanner::startScan()
{
    scan();
}

void OffloadScanner::dropMovedCandidates()
{
    const auto moved = std::remove_if(m_candidates.begin(), m_candidates.end(), [](const OffloadCandidate &candidate) {
        struct stat st{};
        return ::lstat(candidate.url.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
    });
    if (moved == m_candidates.end())
        return;
    m_candidates.erase(moved, m_candidates.end());
    emit candidatesChanged();
}

const std::vector<MoveSuggestions::Candidate> MoveSuggestions::candidates{
    {"Library/Developer/CoreSimulator/Devices", "iOS simulators"},
    {"Library/Developer/Xcode/DerivedData", "Xcode build data"},
    {"Library/Developer/Xcode/Archives", "Xcode archives"},
    {"Library/Developer/Xcode/iOS DeviceSupport", "iOS device symbols"},
    {"Library/Application Support/Adobe/Common/Media Cache", "Adobe Media Cache"},
    {"Library/Application Support/Adobe/Common/Media Cache Files", "Adobe Media Cache Files"},
    {".gradle/caches", "Gradle caches"},
    {".android/avd", "Android emulators"},
    {"AndroidSDK", "Android SDK"},
};

MoveSuggestions::MoveSuggestions(fs::path home, QObject *parent)
    : QObject(parent)
    , m_home(std::move(home))
{
}

std::vector<MoveSuggestions::Suggestion> MoveSuggestions::findSuggestions(const fs::path &home)
{
    std::vector<Suggestion> found;
    for (const Candidate &candidate : candidates) {
        for (const fs::path &url : platform::locateAll(candidate.path, home)) {
            struct stat st{};
            if (::lstat(url.c_str(), &st) != 0 || S_ISLNK(st.st_mode))
                continue;
            const qint64 bytes = platform::walkTree(url).allocatedBytes;
            if (bytes >= minimumBytes)
                found.push_back(Suggestion{QUuid::createUuid(), url, bytes, QString::fromUtf8(candidate.label)});
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const Suggestion &a, const Suggestion &b) { return a.bytes > b.bytes; });
    return found;
}

QVariantList MoveSuggestions::suggestionList() const
{
    QVariantList list;
    for (const Suggestion &suggestion : m_suggestions) {
        list.append(QVariantMap{{QStringLiteral("id"), suggestion.id.toString(QUuid::WithoutBraces).toUpper()},
                                {QStringLiteral("url"), pathToText(suggestion.url)},
                                {QStringLiteral("bytes"), suggestion.bytes},
                                {QStringLiteral("category"), suggestion.category}});
    }
    return list;
}

QCoro::Task<void> MoveSuggestions::analyze()
{
    m_isAnalyzing = true;
    emit isAnalyzingChanged();
    m_suggestions = co_await QtConcurrent::run(&MoveSuggestions::findSuggestions, m_home);
    m_isAnalyzing = false;
    emit suggestionsChanged();
    emit isAnalyzingChanged();
}

} // namespace tessoly
