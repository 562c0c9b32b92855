#pragma once

#include "platform/Trash.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace tessoly::platform {

// The freedesktop.org Trash: the home trash for items on the home trash's
// device, "$topdir/.Trash/$uid" or "$topdir/.Trash-$uid" for items on other
// mounts. The record in info/ is created first (exclusively, so two items of
// one name never collide), then the item is renamed into files/. An item is
// never copied across devices: when no trash on its own device can be
// written, the call fails and the item stays where it was.
class FreedesktopTrash final : public Trash {
public:
    // homeTrash: $XDG_DATA_HOME/Trash. uid: the user the trash folders belong to.
    FreedesktopTrash(std::filesystem::path homeTrash, uid_t uid);

    using Trash::trashItem;
    [[nodiscard]] TrashOutcome trashItem(const std::filesystem::path &given, const BeforeMove &beforeMove) override;
    void forgetTrashedItem(const std::filesystem::path &trashedPath) override;
    void dropRecordsWithoutItem(const std::filesystem::path &originalPath) override;
    [[nodiscard]] QString checkRestorable(const std::filesystem::path &trashedPath,
                                          const std::filesystem::path &originalPath) const override;
    [[nodiscard]] std::filesystem::path homeTrashFiles() const override { return m_homeTrash / "files"; }

    // Percent-encodes raw path bytes as the trash info file's Path= key wants them.
    [[nodiscard]] static std::string encodePath(const std::string &bytes);
    [[nodiscard]] static std::string decodePath(const std::string &encoded);

private:
    struct Location {
        std::filesystem::path trashDir;
        std::filesystem::path topDir; // empty for the home trash (absolute Path=)
        QString error;
    };
    [[nodiscard]] Location locate(const std::filesystem::path &item, dev_t device) const;
    // The Path= of a trash info file, decoded; none when it can't be read.
    [[nodiscard]] static std::optional<std::string> recordedPath(const std::filesystem::path &infoPath);

    std::filesystem::path m_homeTrash;
    uid_t m_uid;
};

} // namespace tessoly::platform
