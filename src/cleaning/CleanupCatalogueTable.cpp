// The catalogue: six personas and the folders each may clean, in the order
// the screens list them and the cleaner empties them. Rows are kept exactly
// as they are, also where two share a folder or one lies inside another.
#include "cleaning/CleanupCatalogueTable.h"

namespace tessoly::catalogue {

using enum SafetyLevel;

constexpr Row kIos[] = {
    {"ios.derived", "Xcode DerivedData", "Build artifacts and module caches. Rebuilt automatically on next Xcode build.",
     "hammer.fill", "Library/Developer/Xcode/DerivedData", Safe},
    {"ios.archives", "Xcode Archives",
     "Old app archives. Delete only if you no longer need to symbolicate crashes from past releases.", "shippingbox.fill",
     "Library/Developer/Xcode/Archives", Advanced},
    {"ios.devicesupport", "iOS Device Support",
     "Symbols for physical devices you've connected. Re-downloaded automatically when you reconnect.", "iphone",
     "Library/Developer/Xcode/iOS DeviceSupport", Safe},
    {"ios.watchsupport", "watchOS Device Support", "Same as iOS Device Support but for Apple Watch hardware.", "applewatch",
     "Library/Developer/Xcode/watchOS DeviceSupport", Safe},
    {"ios.coresim", "CoreSimulator caches",
     "Simulator caches (not the simulator data — just the cache shell). Rebuilt on next launch.",
     "iphone.gen3.circle.fill", "Library/Developer/CoreSimulator/Caches", Safe},
    {"ios.pods", "CocoaPods cache", "Downloaded podspecs and Pod source archives. Re-fetched on next `pod install`.",
     "shippingbox", "Library/Caches/CocoaPods", Safe},
};

constexpr Row kAndroid[] = {
    {"android.gradle", "Gradle build caches", "Gradle's global build cache across all your projects. Rebuilt automatically.",
     "shippingbox.fill", ".gradle/caches", Safe},
    {"android.gradle.daemon", "Gradle daemon logs", "Logs from previous Gradle daemon runs. Pure diagnostic, safe to remove.",
     "doc.text", ".gradle/daemon", Safe},
    {"android.avd", "Android Virtual Device snapshots",
     "AVD snapshot images (the `snapshots/` folder inside each emulator). Recreated on next boot.", "candybarphone",
     ".android/avd", Caution},
    {"android.studio", "Android Studio caches", "IDE caches — indexing data, log files. Android Studio rebuilds them.",
     "hammer", "Library/Caches/Google", Safe},
};

constexpr Row kAdobe[] = {
    {"adobe.media", "Adobe Media Cache",
     "Cached preview files for Premiere / After Effects / Audition. Notorious for ballooning silently.", "film.stack",
     "Library/Application Support/Adobe/Common/Media Cache", Safe},
    {"adobe.media.files", "Adobe Media Cache Files", "The companion CFA/PEK preview files Premiere generates.",
     "film.stack", "Library/Application Support/Adobe/Common/Media Cache Files", Safe},
    {"adobe.cameraraw", "Camera Raw cache", "Lightroom / Photoshop preview cache for raw photos. Rebuilt on next use.",
     "camera", "Library/Caches/Adobe Camera Raw", Safe},
    {"adobe.bridge", "Bridge thumbnail cache", "Adobe Bridge thumbnail and preview caches. Rebuilt automatically.",
     "photo.on.rectangle", "Library/Caches/Adobe/Bridge", Safe},
    {"adobe.caches", "Other Adobe app caches",
     "All other Adobe app caches (Illustrator, InDesign, etc.). Apps rebuild as needed.", "paintbrush",
     "Library/Caches/Adobe", Safe},
};

constexpr Row kVideo[] = {
    {"fcp.render", "Final Cut Pro render files", "Rendered preview files. Final Cut regenerates them on demand.", "film",
     "Movies/Final Cut Library.fcpbundle", Advanced},
    {"premiere.media", "Premiere Pro Media Cache", "Same as the Adobe Media Cache — included for video-only workflows.",
     "film.stack", "Library/Application Support/Adobe/Common/Media Cache", Safe},
    {"davinci.cache", "DaVinci Resolve cache", "Render and optimized-media caches. Rebuilt on next playback.",
     "wand.and.rays", "Movies/DaVinci Resolve", Advanced},
};

constexpr Row kWeb[] = {
    {"web.npm", "npm cache", "npm's global package download cache. Re-fetched as needed.", "shippingbox", ".npm", Safe},
    {"web.yarn", "Yarn cache", "Yarn's global package cache.", "shippingbox", "Library/Caches/Yarn", Safe},
    {"web.pnpm", "pnpm store", "pnpm's content-addressable store. Re-fetched as needed.", "shippingbox",
     "Library/pnpm/store", Safe},
    {"web.brew", "Homebrew cache", "Downloaded bottles + sources. `brew cleanup` runs this; we expose it here too.",
     "mug.fill", "Library/Caches/Homebrew", Safe},
};

constexpr Row kGeneral[] = {
    {"user.chrome", "Chrome cache", "Chrome's HTTP cache. Re-downloaded as you browse.", "globe",
     "Library/Caches/Google/Chrome", Safe},
    {"user.safari", "Safari cache", "Safari's web cache.", "safari", "Library/Caches/com.apple.Safari", Safe},
    {"user.firefox", "Firefox cache", "Firefox's cache.", "globe", "Library/Caches/Firefox", Safe},
    {"user.mail", "Mail downloads", "Email attachments Mail downloaded for preview. Mail re-downloads when needed.",
     "envelope", "Library/Containers/com.apple.mail/Data/Library/Mail Downloads", Safe},
    {"user.quicklook", "Quick Look thumbnails", "Cached file previews. Rebuilt the first time you preview each file.",
     "eye", "Library/Caches/com.apple.QuickLook.thumbnailcache", Safe},
};

constexpr ProfileRow kProfiles[] = {
    {CleanupProfile::IosDeveloper, "iosDeveloper", "iOS Developer", "DerivedData, simulators, archives, device support.",
     "swift", "orange", kIos},
    {CleanupProfile::AndroidDeveloper, "androidDeveloper", "Android Developer",
     "Gradle, AVD images, SDK build-tools, NDK cache.", "hammer", "green", kAndroid},
    {CleanupProfile::AdobeCreative, "adobeCreative", "Adobe Creative", "Media Cache, Bridge cache, Camera Raw cache.",
     "paintbrush", "red", kAdobe},
    {CleanupProfile::VideoEditor, "videoEditor", "Video Editor", "Premiere/Final Cut/DaVinci media + render caches.",
     "film", "purple", kVideo},
    {CleanupProfile::WebDeveloper, "webDeveloper", "Web Developer", "node_modules, .next, build folders, npm cache.",
     "chevron.left.forwardslash.chevron.right", "blue", kWeb},
    {CleanupProfile::GeneralUser, "generalUser", "Everyday Mac", "Browser caches, mail attachments, downloads.",
     "person.crop.circle", "indigo", kGeneral},
};

std::span<const ProfileRow> profiles()
{
    return kProfiles;
}

} // namespace tessoly::catalogue
