#pragma once

#include <QtGlobal>
#include <sys/types.h>

namespace tessoly::platform {

// Whether a file holds exactly its data: its blocks are its size rounded up
// to whole blocks, with no hole, no extent-tree block and nothing allocated
// past its end. Such a file is copied as one stream and measured by its
// blocks; any other is mapped with SEEK_DATA / SEEK_HOLE, by the copy and
// by the measurement alike, so that a copy and its original agree.
[[nodiscard]] inline bool isDenseFile(qint64 allocatedBytes, qint64 size, qint64 blockSize)
{
    const qint64 block = blockSize > 0 ? blockSize : 4096;
    return allocatedBytes == (size + block - 1) / block * block;
}

// The bytes of an open file's data ranges, each widened to whole blocks of
// its file system; -1 when the file can't be mapped.
[[nodiscard]] qint64 mappedDataBytes(int fd, qint64 size);

} // namespace tessoly::platform
