#pragma once

#include <QCoroTask>
#include <QString>
#include <filesystem>

namespace tessoly::platform {

// Shows an item selected in the system's file manager.
class Revealer {
public:
    virtual ~Revealer() = default;
    // For a button: asks and doesn't wait for the answer.
    virtual void reveal(const std::filesystem::path &item) = 0;
    // Asks and waits: empty when the file manager took the request, else
    // why nothing was shown. A revealer that acts at once (a fake) just reveals.
    virtual QCoro::Task<QString> show(std::filesystem::path item)
    {
        reveal(item);
        co_return QString();
    }
};

} // namespace tessoly::platform
