#include "zvelluser.h"

#include <cstdio>

namespace {
std::string root = ".";
}

ZvMailUserId::ZvMailUserId(MailBoxType /*type*/, const std::string& address) : address_(address) {}

std::string ZvMailUserId::prefpath() const { return root + "/" + address_; }

int mailuser_filename(int /*kind*/, char* buffer, std::size_t size, const std::string& address) {
  const std::string path = ZvMailUserId(MAILBOX_USER, address).prefpath();
  return std::snprintf(buffer, size, "%s", path.c_str()) < static_cast<int>(size) ? 0 : -1;
}

void mailuser_set_root(const std::string& directory) { root = directory; }
