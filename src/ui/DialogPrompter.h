#pragma once

#include "platform/Prompter.h"

#include <QObject>
#include <QtQml/qqml.h>

namespace tessoly {

// The window's answer to a service's question: it asks the screens to show
// the folder panel or an alert, and resumes the service with what the user
// chose there.
class DialogPrompter : public QObject, public platform::Prompter {
    Q_OBJECT
    QML_ANONYMOUS

public:
    using QObject::QObject;

    QCoro::Task<std::optional<std::filesystem::path>> chooseFolder(platform::OpenPanelRequest request) override;
    QCoro::Task<int> alert(platform::AlertRequest request) override;
    QCoro::Task<std::optional<std::filesystem::path>> chooseSaveFile(platform::SavePanelRequest request) override;

    // The screens' replies: the chosen folder ("" cancels), the button pressed.
    Q_INVOKABLE void answerFolder(const QString &path) { emit folderAnswered(path); }
    Q_INVOKABLE void answerAlert(int button) { emit alertAnswered(button); }
    // The file chosen in the save panel ("" cancels).
    Q_INVOKABLE void answerSaveFile(const QString &path) { emit saveFileAnswered(path); }

signals:
    void folderRequested(const QString &title, const QString &message, const QString &prompt, const QString &folder);
    void alertRequested(const QString &title, const QString &text, const QStringList &buttons);
    // nameFilters as the file dialog takes them; folder is where the panel opens.
    void saveFileRequested(const QString &title, const QString &suggestedName, const QString &folder,
                           const QStringList &nameFilters);
    void folderAnswered(const QString &path);
    void saveFileAnswered(const QString &path);
    void alertAnswered(int button);
};

} // namespace tessoly
