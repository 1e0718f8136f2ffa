// Where the mail server keeps what belongs to a user.
#ifndef ZVELLUSER_H_
#define ZVELLUSER_H_

#include <sys/stat.h>

#include <cstddef>
#include <string>

// The owner of a mailbox.
enum MailBoxType {
  MAILBOX_USER = 1  // a user's own
};

// A mailbox of a user.
class ZvMailUserId {
 public:
  ZvMailUserId(MailBoxType type, const std::string& address);

  // The folder of the user's preferences: <root>/<domain>/<local part>, the local part being all
  // before the last "@", the domain in lower case. Every byte outside ASCII letters, digits and
  // "._+=-", and a leading dot, is written %XX, so that no address reaches outside the root and no
  // two share a folder but for the case of the domain. Creates nothing. Empty for an address
  // without a local part or a domain. A part that passes 255 bytes as it is written, which no file
  // name can hold, has folders in between, whose names end in a lone "%". The dot that one of these
  // or what follows it would begin with is written %2E, too.
  //
  // Where there is no such folder on disk, but one with the name of plain_prefpath() or else of
  // hashed_prefpath(), it is that one.
  std::string prefpath() const;

  // Puts prefpath() into `folder`, and what stat(2) tells of it into `status`. 0, or the errno:
  // ENOENT when it is not there.
  int find_prefpath(std::string& folder, struct stat& status) const;

  // The name for the folder of a new user: the same, but only what can't stand in a file's name, or
  // would make it another address's, is written %XX: "/", bytes below 32 and 127, a leading dot,
  // and a "%" at the end or in front of two hexadecimal digits. So the folder of o'brien is named
  // o'brien, as mail servers name it that take an address's parts as they stand.
  std::string plain_prefpath() const;

  // The name for the folder of a new user where a domain has too many for one folder:
  // <root>/<domain>/%/ab/cd/<local part>, as plain_prefpath() writes both. abcd are the first
  // hexadecimal digits, in small letters, of the MD5 of the local part as it is written. No
  // address's folder is named by a lone "%", so that none is below another's.
  std::string hashed_prefpath() const;

 private:
  std::string address_;
};

// The kinds of paths that mailuser_filename gives.
enum { MAILUSER_PREFERENCES = 5 };  // the folder of ZvMailUserId::prefpath()

// Writes the path of that kind for a user, with a NUL, into `buffer`. 0, or -1 with an empty text
// in `buffer` when the kind is unknown, the address has no folder, or `size` bytes do not hold the
// path. Creates nothing.
int mailuser_filename(int kind, char* buffer, std::size_t size, const std::string& address);

// Sets the folder that the users' folders are below; "/var/spool/quarrow" when never called. Call
// it before any thread asks for a path.
void mailuser_set_root(const std::string& directory);

#endif  // ZVELLUSER_H_
