#pragma once

#include "platform/Prompter.h"

#include <QTextStream>

namespace tessoly {

// The grant panel as a question on the terminal; with --yes the top folder
// of the drive is granted without asking. Alerts are printed.
class TerminalPrompter final : public platform::Prompter {
public:
    TerminalPrompter(QTextStream &err, bool yes);
    QCoro::Task<std::optional<std::filesystem::path>> chooseFolder(platform::OpenPanelRequest request) override;
    QCoro::Task<int> alert(platform::AlertRequest request) override;

private:
    QTextStream &m_err;
    bool m_yes;
};

} // namespace tessoly
