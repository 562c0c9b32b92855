// The command line's recommendations: Smart Scan's ranked cards, applying
// them by rank, and the one-button clean.
#include "application/TessolyApp.h"
#include "cli/CommandLine.h"
#include "cli/TerminalPrompter.h"
#include "core/ByteFormat.h"
#include "recommendations/EasyCleanFlow.h"
#include "recommendations/SmartScanService.h"

#include <QJsonArray>
#include <QJsonObject>
#include <chrono>

namespace tessoly {
namespace {

QJsonObject cardJson(const Recommendation &card, int rank)
{
    QJsonObject object = QJsonObject::fromVariantMap(card.toVariant());
    object.insert(QStringLiteral("rank"), rank);
    return object;
}

// "1,3" -> {1, 3}; nullopt for anything that isn't a list of ranks from 1.
std::optional<std::vector<int>> parseRanks(const QString &text)
{
    std::vector<int> ranks;
    for (const QString &part : text.split(QLatin1Char(','))) {
        bool ok = false;
        const int rank = part.trimmed().toInt(&ok);
        if (!ok || rank < 1)
            return std::nullopt;
        ranks.push_back(rank);
    }
    return ranks;
}

} // namespace

QCoro::Task<int> CommandLine::smartScan(Parsed parsed)
{
    std::optional<std::vector<int>> ranks;
    if (parsed.options.contains(QStringLiteral("--apply"))) {
        ranks = parseRanks(parsed.options.value(QStringLiteral("--apply")));
        if (!ranks)
            co_return usageError(QStringLiteral("--apply takes card ranks from 1, separated by commas, e.g. --apply 1,3."));
    }
    SmartScanService &smart = *m_app.smartScan();
    // A card's result stays on screen for a moment; a terminal needs no pause.
    smart.setCompletionDelay(std::chrono::milliseconds(0));
    const auto progress = QObject::connect(&smart, &SmartScanService::scanProgressChanged, &smart,
                                           [&] { showProgress(smart.scanProgress()); });
    co_await smart.scan();
    const std::vector<Recommendation> cards = smart.visibleRecommendations();
    const bool json = parsed.flag("--json");

    if (!ranks) {
        QObject::disconnect(progress);
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
            if (!card.hasAction)
                m_out << " · information only";
            m_out << "\n   " << card.oneLiner << "\n";
        }
        m_out << "\nApply cards with: tessoly smart-scan --apply <rank>[,<rank>...]\n";
        co_return 0;
    }

    for (const int rank : *ranks) {
        if (rank > static_cast<int>(cards.size())) {
            QObject::disconnect(progress);
            co_return usageError(QStringLiteral("there is no card %1: this scan found %2.").arg(rank).arg(cards.size()));
        }
    }
    TerminalPrompter prompter(m_err, parsed.flag("--yes"));
    m_app.setPrompter(&prompter);
    QObject::disconnect(progress);
    // Each stage a card shows while it runs.
    const QUuid *current = nullptr;
    const auto stages = QObject::connect(&smart, &SmartScanService::applyStatusesChanged, &smart, [&] {
        if (current == nullptr)
            return;
        if (const auto status = smart.applyStatus(*current); status && status->state == SmartScanService::ApplyStatus::State::Running)
            showProgress(status->text);
    });

    int failures = 0;
    QJsonArray applied;
    for (const int rank : *ranks) {
        const Recommendation &card = cards[static_cast<std::size_t>(rank - 1)];
        QString state;
        QString words;
        if (!card.hasAction) {
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
            if (!last || last->state == SmartScanService::ApplyStatus::State::Failed)
                ++failures;
        }
        applied.append(QJsonObject{{QStringLiteral("rank"), rank},
                                   {QStringLiteral("id"), card.id.toString(QUuid::WithoutBraces)},
                                   {QStringLiteral("title"), card.title},
                                   {QStringLiteral("status"), state},
                                   {QStringLiteral("message"), words}});
        if (!json)
            m_out << rank << ". " << card.title << "\n   " << words << "\n   Status: " << state << "\n";
    }
    QObject::disconnect(stages);
    m_app.setPrompter(nullptr);
    if (json) {
        printJson(QJsonObject{{QStringLiteral("applied"), applied},
                              {QStringLiteral("totalReclaimedThisSession"), smart.totalReclaimedThisSession()},
                              {QStringLiteral("totalPendingInTrash"), smart.totalPendingInTrash()}});
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
        m_out << "\n" << blocks.join(QLatin1Char('\n')) << "\n";
    }
    co_return 0;
}

} // namespace tessoly
