#pragma once

#include "cleaning/CleanupCatalogue.h"

#include <span>

// The rows of the catalogue, as compiled into the program.
namespace tessoly::catalogue {

struct Row {
    const char *id;
    const char *name;
    const char *description;
    const char *icon;
    const char *path;
    SafetyLevel safety;
};

struct ProfileRow {
    CleanupProfile profile;
    const char *raw;
    const char *displayName;
    const char *tagline;
    const char *icon;
    const char *tint;
    std::span<const Row> targets;
};

// The six profiles in declared order.
[[nodiscard]] std::span<const ProfileRow> profiles();

} // namespace tessoly::catalogue
