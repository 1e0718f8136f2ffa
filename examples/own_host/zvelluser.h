// Where the example host keeps what belongs to a user: in a folder of their address below the root.
#ifndef ZVELLUSER_H_
#define ZVELLUSER_H_

#include <cstddef>
#include <string>

enum MailBoxType { MAILBOX_USER = 1 };

enum { MAILUSER_PREFERENCES = 5 };

class ZvMailUserId {
 public:
  ZvMailUserId(MailBoxType type, const std::string& address);
  std::string prefpath() const;

 private:
  std::string address_;
};

int mailuser_filename(int kind, char* buffer, std::size_t size, const std::string& address);
void mailuser_set_root(const std::string& directory);

#endif  // ZVELLUSER_H_
