#include "platform/linux/DataExtents.h"

#include <cerrno>
#include <sys/statfs.h>
#include <unistd.h>

namespace tessoly::platform {

qint64 mappedDataBytes(int fd, qint64 size)
{
    struct statfs fsInfo{};
    if (::fstatfs(fd, &fsInfo) != 0)
        return -1;
    const auto block = static_cast<qint64>(fsInfo.f_bsize > 0 ? fsInfo.f_bsize : 4096);
    qint64 total = 0;
    off_t offset = 0;
    while (offset < size) {
        const off_t data = ::lseek(fd, offset, SEEK_DATA);
        if (data < 0)
            return errno == ENXIO ? total : -1; // ENXIO: only a hole is left
        const off_t hole = ::lseek(fd, data, SEEK_HOLE);
        if (hole < 0)
            return -1;
        total += (static_cast<qint64>(hole) + block - 1) / block * block - static_cast<qint64>(data) / block * block;
        offset = hole;
    }
    return total;
}

} // namespace tessoly::platform
