#include "moves/MoveTypes.h"

#include "core/ByteFormat.h"

namespace tessoly {

QString MoveError::errorDescription() const
{
    switch (kind) {
    case Kind::InsufficientSpace:
        return QStringLiteral("Not enough free space on the external drive. Needs %1, %2 available.")
            .arg(formatBytes(needed), formatBytes(available));
    case Kind::CopyFailed:
        return QStringLiteral("Couldn't copy to the external drive: %1").arg(text);
    case Kind::VerificationFailed:
        return QStringLiteral("The copied data didn't match the original (%1). The original is untouched.").arg(text);
    case Kind::RenameFailed:
        return QStringLiteral("Couldn't move the original aside to make room for the symlink: %1. Nothing was changed.")
            .arg(text);
    case Kind::SymlinkFailed:
        return QStringLiteral("Couldn't create the symlink at the original location: %1. The original was put back and "
                              "the copy was deleted.")
            .arg(text);
    case Kind::SourceMissing:
        return QStringLiteral("The file or folder no longer exists at its original location.");
    case Kind::DestinationExists:
        return QStringLiteral("A folder with that name already exists on the external drive. Move or rename it first.");
    case Kind::Refused:
        return text;
    }
    return {};
}

QString MoveProgress::text() const
{
    switch (stage) {
    case Stage::Planning:
        return QStringLiteral("Preparing…");
    case Stage::Copying:
        return QStringLiteral("Copying %1 of %2").arg(formatBytes(bytesCopied), formatBytes(totalBytes));
    case Stage::Verifying:
        return QStringLiteral("Verifying the copy…");
    case Stage::CreatingSymlink:
        return QStringLiteral("Creating the symlink…");
    case Stage::Finalizing:
        return QStringLiteral("Finalizing…");
    case Stage::Done:
        return QStringLiteral("Done.");
    case Stage::Failed:
        return error.errorDescription();
    }
    return {};
}

QString VerificationReport::detail() const
{
    QStringList names;
    for (qsizetype i = 0; i < mismatches.size() && i < 3; ++i)
        names.append(mismatches.at(i).section(QLatin1Char('/'), -1));
    return QStringLiteral("%1 of %2 files couldn't be copied: %3%4")
        .arg(mismatches.size())
        .arg(checkedFiles)
        .arg(names.join(QStringLiteral(", ")), mismatches.size() > 3 ? QStringLiteral(", …") : QString());
}

QString BringBackError::errorDescription() const
{
    switch (kind) {
    case Kind::NotEnoughSpace:
        return QStringLiteral("Not enough free space on the internal disk. Needs %1, %2 available.")
            .arg(formatBytes(needed), formatBytes(available));
    case Kind::CopyFailed:
        return QStringLiteral("Couldn't copy back: %1").arg(text);
    case Kind::ExternalMissing:
        return QStringLiteral("The external copy isn't reachable. Plug the drive back in and try again.");
    case Kind::NotASymlink:
        return QStringLiteral("The original path is no longer a symlink — looks like it's already been restored or replaced.");
    case Kind::VerificationFailed:
        return QStringLiteral("The copied data didn't match the original size. Nothing was changed.");
    }
    return {};
}

} // namespace tessoly
