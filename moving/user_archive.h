// What an archive of a user holds: a tar archive in the pax format (POSIX.1-2001).
//
//   quarrow-user    a text: the version of this form, and whose archive it is
//   user/...        all files and folders of the user's folder
//   quarrow-end     a text: how much that was, and the SHA-256 of all bytes in front of this member
#ifndef QUARROW_MOVING_USER_ARCHIVE_H_
#define QUARROW_MOVING_USER_ARCHIVE_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

namespace Quarrow::Moving {

constexpr char description_name[] = "quarrow-user";
constexpr char contents_name[] = "user/";
constexpr char end_name[] = "quarrow-end";

// Both texts are shorter.
constexpr std::size_t most_text = 4096;

// How much is read at once.
constexpr std::size_t block_size = std::size_t{64} << 10U;

// A file or a folder in an archive.
struct Member {
  std::string name;  // a folder's ends in "/"
  bool is_folder = false;
  mode_t mode = 0600;
  timespec changed{};
  std::uint64_t size = 0;  // of a file
};

// How much of a user is in an archive.
struct Counts {
  std::uint64_t files = 0;
  std::uint64_t folders = 0;
  std::uint64_t bytes = 0;  // of the files
};

std::string description_text(const std::string& user);
std::string end_text(const Counts& counts, const std::string& sum);

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_USER_ARCHIVE_H_
