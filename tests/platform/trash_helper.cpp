// Trashes one item with a given home Trash and prints the outcome; the
// permission tests run it as an unprivileged user.
#include "platform/linux/FreedesktopTrash.h"

#include <cstdio>
#include <unistd.h>

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: trash_helper <home trash> <item>\n");
        return 2;
    }
    tessoly::platform::FreedesktopTrash trash(argv[1], ::getuid());
    const auto outcome = trash.trashItem(argv[2]);
    if (!outcome.ok()) {
        std::printf("%s\n", outcome.error.toUtf8().constData());
        return 1;
    }
    std::printf("%s\n", outcome.trashedPath.c_str());
    return 0;
}
