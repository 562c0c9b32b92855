#pragma once

#include "platform/PdfRenderer.h"

#include <chrono>
#include <filesystem>

namespace tessoly::platform {

class ProcessRunner;

// Prints through a helper program that holds the web engine
// ("tessoly-render-pdf <document.html> <out.pdf>"), so that only exporting
// a report pays for loading the engine, and a crash or hang there can't
// take the window down with it.
class HelperPdfRenderer final : public PdfRenderer {
public:
    HelperPdfRenderer(ProcessRunner &processes, std::filesystem::path helper,
                      std::chrono::milliseconds timeLimit = std::chrono::seconds(90));
    [[nodiscard]] QCoro::Task<RenderedPdf> render(QString html) override;

private:
    ProcessRunner &m_processes;
    std::filesystem::path m_helper;
    std::chrono::milliseconds m_timeLimit;
};

} // namespace tessoly::platform
