// The command line's recommendations: Smart Scan's ranked cards, applying
// them by their ids, and the one-button clean.
#include "application/TessolyApp.h"
#include "cli/CommandLine.h"
#include "cli/TerminalPrompter.h"
#include "core/ByteFormat.h"
#include "recommendations/EasyCleanFlow.h"
#include "recommendations/SmartScanService.h"

#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>
#include <chrono>

namespace tessoly {
namespace {

// A card as a script sees it: "id" is the card's key, which names the same
// card in the next run; the rank is where it stands in this one.
QJsonObject cardJson(const Recommendation &card, int rank)
{
    QJsonObject object = QJsonObject::fromVariantMap(card.toVariant());
    object.remove(QStringLiteral("key"));
    object.insert(QStringLiteral("id"), card.key);
    object.insert(QStringLiteral("rank"), rank);
    return object;
}

} // namespace

QCoro::Task<int> CommandLine::smartScan(Parsed parsed)
{
    // Cards are named by what they act on, never by rank: a rank moves when
    // a folder grows between the listing and the apply.
    QStringList wanted;
    if (parsed.options.contains(QStringLiteral("--apply"))) {
        for (const QString &part : parsed.options.value(QStringLiteral("--apply")).split(QLatin1Char(',')))
            if (const QString key = part.trimmed(); !wanted.contains(key))
                wanted << key;
        if (wanted.contains(QString()))
            co_return usageError(
                QStringLiteral("--apply takes card ids separated by commas, e.g. --apply clean.web.npm,snapshots."));
        const auto isRank = [](const QString &key) {
            bool number = false;
            (void)key.toInt(&number);
            return number;
        };
        if (std::any_of(wanted.begin(), wanted.end(), isRank))
            co_return usageError(QStringLiteral("--apply takes the ids “tessoly smart-scan” prints (e.g. clean.web.npm), "
                                                "not ranks: a rank can name another card once a folder has grown."));
    }
    SmartScanService &smart = *m_app.smartScan();
    // A card's result stays on screen for a moment; a terminal needs no pause.
    smart.setCompletionDelay(std::chrono::milliseconds(0));
    const auto progress = QObject::connect(&smart, &SmartScanService::scanProgressChanged, &smart,
                                           [&] { showProgress(smart.scanProgress()); });
    co_await smart.scan();
    QObject::disconnect(progress);
    const std::vector<Recommendation> cards = smart.visibleRecommendations();
    const bool json = parsed.flag("--json");

    if (wanted.isEmpty()) {
        if (json) {
            QJsonArray list;
            for (std::size_t i = 0; i < cards.size(); ++i)
                list.append(cardJson(cards[i], static_cast<int>(i) + 1));
            printJson(QJsonObject{{QStringLiteral("recommendations"), list}});
            co_return 0;
        }
        if (cards.empty()) {
            m_out << "All clear\nSmart Scan didn't find anything to clean up right now. Run it again any time.\n";
            co_return 0;
        }
        m_out << cards.size() << (cards.size() == 1 ? " recommendation\n" : " recommendations\n");
        for (std::size_t i = 0; i < cards.size(); ++i) {
            const Recommendation &card = cards[i];
            m_out << "\n" << (i + 1) << ". " << card.title << "\n   " << label(card.riskLevel);
            if (card.estimatedSavings > 0)
                m_out << " · est. savings " << formatBytes(card.estimatedSavings);
            if (!card.hasAction())
                m_out << " · information only";
            m_out << " · id " << card.key << "\n   " << card.oneLiner << "\n";
        }
        m_out << "\nApply cards with: tessoly smart-scan --apply <id>[,<id>...]\n";
        co_return 0;
    }

    // Every card named must still be there after this scan, or nothing is applied.
    std::vector<Recommendation> chosen;
    for (const QString &key : wanted) {
        const auto named = [&key](const Recommendation &r) { return r.key == key; };
        const auto card = std::find_if(cards.begin(), cards.end(), named);
        if (card == cards.end())
            co_return usageError(QStringLiteral("no card “%1” in this scan: what it was about may have shrunk below "
                                                "the limit, gone, or been applied. Nothing was applied; “tessoly "
                                                "smart-scan” lists the cards now.")
                                     .arg(key));
        chosen.push_back(*card);
    }
    TerminalPrompter prompter(m_stderr, parsed.flag("--yes"));
    m_app.setPrompter(&prompter);
    // Each stage a card shows while it runs.
    const QUuid *current = nullptr;
    const auto stages = QObject::connect(&smart, &SmartScanService::applyStatusesChanged, &smart, [&] {
        if (current == nullptr)
            return;
        if (const auto status = smart.applyStatus(*current); status && status->state == SmartScanService::ApplyStatus::State::Running)
            showProgress(status->text);
    });

    int failures = 0;
    QString firstFailure;
    QJsonArray applied;
    for (const Recommendation &card : chosen) {
        QString state;
        QString words;
        if (!card.hasAction()) {
            state = QStringLiteral("informational");
            words = QStringLiteral("This card only informs; there is nothing to apply.");
        } else {
            current = &card.id;
            std::optional<SmartScanService::ApplyStatus> last;
            const auto watch = QObject::connect(&smart, &SmartScanService::applyStatusesChanged, &smart, [&] {
                if (auto status = smart.applyStatus(card.id); status && status->state != SmartScanService::ApplyStatus::State::Running)
                    last = std::move(status);
            });
            co_await smart.apply(card);
            QObject::disconnect(watch);
            current = nullptr;
            state = last ? SmartScanService::stateName(last->state) : QStringLiteral("failed");
            words = last ? last->text : QStringLiteral("The card didn't report a result.");
            if (!last || last->state == SmartScanService::ApplyStatus::State::Failed) {
                if (++failures == 1)
                    firstFailure = QStringLiteral("%1: %2").arg(card.key, words);
            }
        }
        applied.append(QJsonObject{{QStringLiteral("id"), card.key},
                                   {QStringLiteral("title"), card.title},
                                   {QStringLiteral("status"), state},
                                   {QStringLiteral("message"), words}});
        if (!json)
            m_out << card.key << ": " << card.title << "\n   " << words << "\n   Status: " << state << "\n";
    }
    QObject::disconnect(stages);
    m_app.setPrompter(nullptr);
    if (json) {
        QJsonObject object{{QStringLiteral("applied"), applied},
                           {QStringLiteral("totalReclaimedThisSession"), smart.totalReclaimedThisSession()},
                           {QStringLiteral("totalPendingInTrash"), smart.totalPendingInTrash()}};
        if (failures > 0) {
            const QString error = failures == 1
                ? firstFailure
                : QStringLiteral("%1 cards failed; the first, %2").arg(failures).arg(firstFailure);
            object.insert(QStringLiteral("error"), error);
        }
        printJson(object);
    } else {
        QStringList summary;
        if (smart.totalReclaimedThisSession() >= 1)
            summary << QStringLiteral("reclaimed %1").arg(formatBytes(smart.totalReclaimedThisSession()));
        if (smart.totalPendingInTrash() >= 1)
            summary << QStringLiteral("%1 waiting in Trash").arg(formatBytes(smart.totalPendingInTrash()));
        if (!summary.isEmpty())
            m_out << "\n" << summary.join(QStringLiteral(" · ")) << "\n";
    }
    co_return failures > 0 ? 1 : 0;
}

QCoro::Task<int> CommandLine::easyClean(Parsed parsed)
{
    EasyCleanFlow &flow = *m_app.easyClean();
    m_app.smartScan()->setCompletionDelay(std::chrono::milliseconds(0));
    const bool json = parsed.flag("--json");
    QJsonArray steps;
    const auto connection = QObject::connect(&flow, &EasyCleanFlow::phaseChanged, &flow, [&] {
        if (flow.phase() != EasyCleanFlow::Phase::Running)
            return;
        steps.append(flow.step());
        if (json)
            showProgress(flow.step());
        else
            m_out << flow.step() << "\n";
        m_out.flush();
    });
    co_await flow.run();
    QObject::disconnect(connection);

    QStringList blocks;
    if (flow.freedNow() >= 1)
        blocks << QStringLiteral("Freed %1 on your disk.").arg(formatBytes(flow.freedNow()));
    if (flow.inTrash() >= 1)
        blocks << QStringLiteral("Another %1 is waiting in the Trash.").arg(formatBytes(flow.inTrash()));
    if (flow.freedNow() < 1 && flow.inTrash() < 1)
        blocks << QStringLiteral("Your Mac is already clean — nothing safe needed clearing.");
    if (json) {
        printJson(QJsonObject{{QStringLiteral("steps"), steps},
                              {QStringLiteral("freedNow"), flow.freedNow()},
                              {QStringLiteral("inTrash"), flow.inTrash()},
                              {QStringLiteral("result"), QJsonArray::fromStringList(blocks)}});
    } else {
        m_out << "\n";
        for (const QString &block : blocks)
            m_out << block << "\n";
    }
    co_return 0;
}

} // namespace tessoly
