#pragma once

#include <QString>
#include <QStringList>
#include <filesystem>

namespace tessoly {

// Why a move ended without effect (its words say what state the data is in).
struct MoveError {
    enum class Kind { InsufficientSpace, CopyFailed, VerificationFailed, RenameFailed, SymlinkFailed, SourceMissing, DestinationExists, Refused };
    Kind kind = Kind::CopyFailed;
    QString text{};       // the platform's words, the verification detail, or the guard's refusal
    qint64 needed = 0;    // InsufficientSpace
    qint64 available = 0; // InsufficientSpace
    [[nodiscard]] QString errorDescription() const;
};

// Where a move is; Done and Failed are the last event of a move.
struct MoveProgress {
    enum class Stage { Planning, Copying, Verifying, CreatingSymlink, Finalizing, Done, Failed };
    Stage stage = Stage::Planning;
    qint64 bytesCopied = 0; // Copying
    qint64 totalBytes = 0;  // Copying
    std::filesystem::path symlinkPath{}; // Done
    std::filesystem::path movedTo{};     // Done
    qint64 movedBytes = 0;               // Done
    bool disposedToTrash = false;        // Done
    QString logError{};                  // Done: why the log couldn't record the move, if it couldn't
    MoveError error{};                   // Failed
    // The move sheet's status line.
    [[nodiscard]] QString text() const;
    [[nodiscard]] bool isTerminal() const { return stage == Stage::Done || stage == Stage::Failed; }
};

// The outcome of comparing a copy with its original.
struct VerificationReport {
    bool ok = true;
    QStringList mismatches; // paths relative to the moved folder still wrong after repair
    int checkedFiles = 0;
    int repairedFiles = 0;
    // "<count> of <checked> files couldn't be copied: a, b, c, …"
    [[nodiscard]] QString detail() const;
};

// Why a bring-back didn't happen.
struct BringBackError {
    enum class Kind { NotEnoughSpace, CopyFailed, ExternalMissing, NotASymlink, VerificationFailed };
    Kind kind = Kind::CopyFailed;
    QString text{};
    qint64 needed = 0;
    qint64 available = 0;
    [[nodiscard]] QString errorDescription() const;
};

} // namespace tessoly
