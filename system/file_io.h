// Reading and writing that a signal does not end.
#ifndef QUARROW_SYSTEM_FILE_IO_H_
#define QUARROW_SYSTEM_FILE_IO_H_

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Quarrow {

// pread(2), begun again when a signal interrupts it.
ssize_t read_at(int fd, char* data, std::size_t size, std::size_t offset);

// Appends to `text`, which holds the file's beginning, the next bytes of the file: a block at
// most. Gives how many bytes they were; 0 at the file's end, negative as pread(2) is.
ssize_t append_next(int fd, std::string& text);

// Appends to `text` the next bytes from read(2): a block at most. Gives how many they were; 0 at
// the end, negative as read(2) is.
ssize_t append_from(int fd, std::string& text);

// Writes all of `data`. False, with errno set, when the system took only a part of it.
bool write_all(int fd, std::string_view data);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_FILE_IO_H_
