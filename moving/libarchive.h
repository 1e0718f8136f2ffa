// The library that reads and writes tar archives, loaded when it is needed.
#ifndef QUARROW_MOVING_LIBARCHIVE_H_
#define QUARROW_MOVING_LIBARCHIVE_H_

#include <archive.h>
#include <archive_entry.h>

#include <memory>

#include "system/loaded_library.h"

namespace Quarrow::Moving {

// The functions that are used of libarchive.
struct Libarchive {
  const LoadedLibrary library{"libarchive.so.13"};
  decltype(&archive_error_string) const error_string = library["archive_error_string"];

  decltype(&archive_read_new) const read_new = library["archive_read_new"];
  decltype(&archive_read_free) const read_free = library["archive_read_free"];
  decltype(&archive_read_support_format_tar) const support_tar =
      library["archive_read_support_format_tar"];
  decltype(&archive_read_open) const read_open = library["archive_read_open"];
  decltype(&archive_read_next_header) const next_header = library["archive_read_next_header"];
  decltype(&archive_read_header_position) const header_position =
      library["archive_read_header_position"];
  decltype(&archive_read_data) const read_data = library["archive_read_data"];

  decltype(&archive_write_new) const write_new = library["archive_write_new"];
  decltype(&archive_write_free) const write_free = library["archive_write_free"];
  decltype(&archive_write_set_format_pax) const set_pax = library["archive_write_set_format_pax"];
  decltype(&archive_write_set_bytes_per_block) const set_block =
      library["archive_write_set_bytes_per_block"];
  decltype(&archive_write_open) const write_open = library["archive_write_open"];
  decltype(&archive_write_header) const write_header = library["archive_write_header"];
  decltype(&archive_write_data) const write_data = library["archive_write_data"];
  decltype(&archive_write_finish_entry) const finish_entry = library["archive_write_finish_entry"];
  decltype(&archive_write_close) const write_close = library["archive_write_close"];

  decltype(&archive_entry_new) const entry_new = library["archive_entry_new"];
  decltype(&archive_entry_free) const entry_free = library["archive_entry_free"];
  decltype(&archive_entry_pathname) const pathname = library["archive_entry_pathname"];
  decltype(&archive_entry_filetype) const filetype = library["archive_entry_filetype"];
  decltype(&archive_entry_perm) const perm = library["archive_entry_perm"];
  decltype(&archive_entry_size) const size = library["archive_entry_size"];
  decltype(&archive_entry_mtime) const mtime = library["archive_entry_mtime"];
  decltype(&archive_entry_mtime_nsec) const mtime_nsec = library["archive_entry_mtime_nsec"];
  decltype(&archive_entry_hardlink) const hardlink = library["archive_entry_hardlink"];
  decltype(&archive_entry_sparse_count) const sparse_count = library["archive_entry_sparse_count"];
  decltype(&archive_entry_set_pathname) const set_pathname = library["archive_entry_set_pathname"];
  decltype(&archive_entry_set_filetype) const set_filetype = library["archive_entry_set_filetype"];
  decltype(&archive_entry_set_perm) const set_perm = library["archive_entry_set_perm"];
  decltype(&archive_entry_set_size) const set_size = library["archive_entry_set_size"];
  decltype(&archive_entry_set_mtime) const set_mtime = library["archive_entry_set_mtime"];
};

// Throws std::runtime_error when libarchive is not there.
const Libarchive& libarchive();

struct ReadingFree {
  void operator()(archive* reading) const { (void)libarchive().read_free(reading); }
};
using Reading = std::unique_ptr<archive, ReadingFree>;

struct WritingFree {
  void operator()(archive* writing) const { (void)libarchive().write_free(writing); }
};
using Writing = std::unique_ptr<archive, WritingFree>;

struct EntryFree {
  void operator()(archive_entry* entry) const { libarchive().entry_free(entry); }
};
using Entry = std::unique_ptr<archive_entry, EntryFree>;

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_LIBARCHIVE_H_
