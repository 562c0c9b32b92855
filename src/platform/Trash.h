#pragma once

#include <QString>
#include <filesystem>
#include <functional>

namespace tessoly::platform {

// Where an item landed in the Trash, or why it couldn't go there (and then
// the item is still where it was).
struct TrashOutcome {
    std::filesystem::path trashedPath;
    QString error;
    [[nodiscard]] bool ok() const { return error.isEmpty(); }
};

class Trash {
public:
    virtual ~Trash() = default;
    // Called with the place the item will have in the Trash once the Trash's
    // record of it exists, just before the item moves there: a journal noted
    // then can find the item again after a crash at any moment.
    using BeforeMove = std::function<void(const std::filesystem::path &)>;
    [[nodiscard]] TrashOutcome trashItem(const std::filesystem::path &item) { return trashItem(item, {}); }
    [[nodiscard]] virtual TrashOutcome trashItem(const std::filesystem::path &item, const BeforeMove &beforeMove) = 0;
    // Called after an item was moved back out of the Trash by its path:
    // drops the Trash's own record of it.
    virtual void forgetTrashedItem(const std::filesystem::path &trashedPath) = 0;
    // Drops the Trash's records that name this original place and have no
    // item: left by a process killed between making a record and moving
    // the item.
    virtual void dropRecordsWithoutItem(const std::filesystem::path &originalPath) = 0;
    // Whether an item may be moved from trashedPath back to originalPath: it
    // must lie directly in a Trash this system uses, and the Trash's own
    // record must name that original place. Empty when it may; else why
    // not, in words.
    [[nodiscard]] virtual QString checkRestorable(const std::filesystem::path &trashedPath,
                                                  const std::filesystem::path &originalPath) const = 0;
    // The folder whose contents the user sees as the Trash.
    [[nodiscard]] virtual std::filesystem::path homeTrashFiles() const = 0;
};

} // namespace tessoly::platform
