// The links of /dev/disk/by-path that lead to a path's block device, as the shell would list them:
//
//   ls -l /dev/disk/by-path/ | grep 'sdb$' | awk -F" " '{print $9}'
//
//   lrwxrwxrwx 1 root root 9 Nov 21 21:19 pci-0000:05:00.0-fc-0x50000000c9000001-lun-1 -> ../../sdb
//
// that is, for each entry that does not begin with ".", in the byte order of the names, whose link text ends in the
// device's name: the entry's name up to its first blank, and a newline. The folder is read once for as many devices as
// are asked about.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace dravik {

class PathLinks {
  public:
    // Reads the folder; a missing one is empty. False when the answers cannot be vouched for: the folder cannot be read
    // for another reason, or holds an entry that is no plain link of root's (one with control bytes, a file, a folder).
    // Throws std::bad_alloc.
    bool read(const char *folder);

    // Writes the listing for `device`, a plain name without a dot, into `out`, cut at `size` - 1 characters.
    void list(std::string_view device, char *out, size_t size);

    // Gives the memory back, and remembers how much there was: the next reading asks for it at once.
    void forget();

  private:
    // A link: where its name and its text lie in `texts`.
    struct Link {
        uint32_t name;
        uint32_t text;
        uint16_t name_length;
        uint16_t text_length;
    };
    bool add(int folder_fd, const char *name);
    void sort();
    std::string_view nameOf(const Link &link) const;
    std::string_view textOf(const Link &link) const;

    std::string texts;
    std::vector<Link> links;       // in the order of their names
    std::vector<uint32_t> by_text; // places in `links`, by the text read from its end
    std::vector<uint32_t> listed;  // the places of one listing
    size_t usual_texts = 0;
    size_t usual_links = 0;
};

} // namespace dravik
