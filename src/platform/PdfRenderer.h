#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QString>

namespace tessoly::platform {

// A rendered document, or in words why there is none.
struct RenderedPdf {
    QByteArray pdf;
    QString error; // empty on success
};

// Lays out an HTML document off screen, 800 CSS pixels wide and at least
// 1100 high, and prints it to a PDF of one page that holds all of it.
class PdfRenderer {
public:
    virtual ~PdfRenderer() = default;
    [[nodiscard]] virtual QCoro::Task<RenderedPdf> render(QString html) = 0;
};

} // namespace tessoly::platform
