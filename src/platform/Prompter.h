#pragma once

#include <QCoroTask>
#include <QString>
#include <QStringList>
#include <filesystem>
#include <optional>

namespace tessoly::platform {

// A folder picker's settings.
struct OpenPanelRequest {
    QString title;
    QString message;
    QString prompt;
    std::filesystem::path directory;
    bool canChooseFiles = false;
    bool canChooseDirectories = true;
    bool allowsMultipleSelection = false;
    bool canCreateDirectories = true;
    bool showsHiddenFiles = false;
};

// A save panel's settings: the suggested file name in the suggested folder,
// and the kinds of file it offers (e.g. "PDF document (*.pdf)").
struct SavePanelRequest {
    QString title;
    QString suggestedName;
    std::filesystem::path directory;
    QStringList nameFilters;
};

// An informational alert; the first button is the default one.
struct AlertRequest {
    QString title;
    QString text;
    QStringList buttons;
};

// Asks the user things on behalf of a service: the window shows dialogs,
// the command line asks on the terminal, tests answer from a script.
class Prompter {
public:
    virtual ~Prompter() = default;
    // The picked folder, or nothing when the user cancelled.
    [[nodiscard]] virtual QCoro::Task<std::optional<std::filesystem::path>> chooseFolder(OpenPanelRequest request) = 0;
    // The index of the button pressed.
    [[nodiscard]] virtual QCoro::Task<int> alert(AlertRequest request) = 0;
    // The file to write, or nothing when the user cancelled. Front ends
    // without a save panel (the terminal) choose nothing.
    [[nodiscard]] virtual QCoro::Task<std::optional<std::filesystem::path>> chooseSaveFile(SavePanelRequest /*request*/)
    {
        co_return std::nullopt;
    }
};

} // namespace tessoly::platform

namespace tessoly::platform {

// Answers as a user who isn't there would: no folder, the last button.
class DecliningPrompter final : public Prompter {
public:
    [[nodiscard]] QCoro::Task<std::optional<std::filesystem::path>> chooseFolder(OpenPanelRequest /*request*/) override
    {
        co_return std::nullopt;
    }
    [[nodiscard]] QCoro::Task<int> alert(AlertRequest request) override
    {
        co_return static_cast<int>(request.buttons.size()) - 1;
    }
};

} // namespace tessoly::platform
