#include "ui/DialogPrompter.h"

#include "platform/PathText.h"

#include <QCoroSignal>

namespace tessoly {

QCoro::Task<std::optional<std::filesystem::path>> DialogPrompter::chooseFolder(platform::OpenPanelRequest request)
{
    emit folderRequested(request.title, request.message, request.prompt, pathToText(request.directory));
    const QString answer = co_await qCoro(this, &DialogPrompter::folderAnswered);
    if (answer.isEmpty())
        co_return std::nullopt;
    co_return textToPath(answer);
}

QCoro::Task<int> DialogPrompter::alert(platform::AlertRequest request)
{
    emit alertRequested(request.title, request.text, request.buttons);
    co_return co_await qCoro(this, &DialogPrompter::alertAnswered);
}

QCoro::Task<std::optional<std::filesystem::path>> DialogPrompter::chooseSaveFile(platform::SavePanelRequest request)
{
    emit saveFileRequested(request.title, request.suggestedName, pathToText(request.directory), request.nameFilters);
    const QString answer = co_await qCoro(this, &DialogPrompter::saveFileAnswered);
    if (answer.isEmpty())
        co_return std::nullopt;
    co_return textToPath(answer);
}

} // namespace tessoly
