// The messages of a folder of a user's mail, newest first.
#ifndef QUARROW_WEB_API_MAIL_LISTING_H_
#define QUARROW_WEB_API_MAIL_LISTING_H_

#include <cstddef>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "refiling/mail_folder.h"
#include "trial/mail_contents.h"

namespace Quarrow::WebApi {

// A message as its file's name tells of it, which is all that the order of a listing needs. So that
// order is the same in the next request, whatever came or went.
struct ListedMessage {
  std::time_t received = 0;  // of the name, else when the file was last changed
  std::string unique;        // the part of the name that stays while flags change

  bool operator==(const ListedMessage& other) const {
    return received == other.received && unique == other.unique;
  }
};

// Whether a message stands in front of another one in a listing.
bool is_newer(const ListedMessage& a, const ListedMessage& b);

// A message that was opened. The message is a part of the contents.
struct OpenedMessage {
  std::unique_ptr<Trial::MailContents> contents;
  Trial::FoundMessage message;
};

enum class Opening {
  done,
  gone,       // it is in the folder no longer
  unreadable  // it is there, and can't be read, or is empty
};

class MailListing {
 public:
  // Opens the folder that is named `name` on the disk, "" for the inbox, of the Maildir in the open
  // folder `user_folder`, and finds out which messages are there. No link is followed. 0, or an
  // errno.
  int open(int user_folder, const std::string& name);

  std::size_t total() const { return messages_.size(); }

  // The newest messages, at most `most`; of those that are older than `behind`, where that is
  // given.
  std::vector<ListedMessage> newest(const std::optional<ListedMessage>& behind,
                                    std::size_t most) const;

  // The message with that unique part; nothing when there is none.
  std::optional<ListedMessage> find(const std::string& unique) const;

  // Opens a message. One that got another name since it was listed, since a client read it, is
  // looked for again.
  Opening open(const ListedMessage& message, OpenedMessage& opened);

  // Whether somebody has read the message: the flag in the name as it was known last.
  bool is_seen(const ListedMessage& message) const;

 private:
  std::time_t time_of(const std::string& unique, const Refiling::Place& place) const;

  Refiling::MailFolder folder_;
  std::vector<ListedMessage> messages_;  // in no order
};

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_MAIL_LISTING_H_
