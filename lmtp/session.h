// LMTP as a server speaks it (RFC 2033), without sockets.
#ifndef QUARROW_LMTP_SESSION_H_
#define QUARROW_LMTP_SESSION_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lmtp/data_decoder.h"
#include "lmtp/limits.h"
#include "lmtp/mail_path.h"
#include "lmtp/reply.h"
#include "server/protocol.h"

namespace Quarrow::Lmtp {

// A message's client, sender and recipients.
struct Envelope {
  std::string client;  // how the client named itself
  std::string sender;  // empty: the null sender
  bool utf8 = false;   // the client said SMTPUTF8 (RFC 6531)
  std::vector<std::string> recipients;
};

// Users, room for a message, and its delivery: the protocol stands on these.
class Handler {
 public:
  virtual ~Handler() = default;

  // Looks for the mailbox of `recipient`: 250, or the refusal.
  virtual Reply check_recipient(const std::string& recipient) = 0;

  // `recipient` in the spelling by which recipients are told apart: two spellings of one address
  // give the same.
  virtual std::string spelling_of(const std::string& recipient) const = 0;

  // Makes room for a new message, and forgets the last one. False when there is no room.
  virtual bool open_message() = 0;

  // Adds bytes to the message, with LF line ends. False when they can't be kept; then the session
  // adds nothing until the next open_message.
  virtual bool add(const char* data, std::size_t size) = 0;

  // Delivers the message to one recipient: 250 only when it is on disk or was thrown away by a
  // rule, or the refusal.
  virtual Reply deliver(const Envelope& envelope, const std::string& recipient) = 0;

  // The message is not needed any longer.
  virtual void close_message() = 0;
};

// One connection's conversation: bytes in, replies out. However a client cuts its bytes into
// blocks, the replies are the same (RFC 2920).
class Session : public Server::Protocol {
 public:
  // `host_name` is the server's name in the greeting. `output` is called once for all commands of a
  // block, and once for each recipient of a message.
  Session(std::unique_ptr<Handler> handler, const Limits& limits, std::string host_name,
          Server::Output output);

  void greet() override;
  void take(const char* data, std::size_t size) override;
  void stop() override;  // lets the client finish the transaction under way, if there is one
  void time_out() override;
  void give_way() override;
  void abandon() override;
  bool is_over() const override { return over_; }
  std::size_t steps() const override { return steps_; }

 private:
  struct Command {
    const char* verb;
    void (Session::*run)(const std::string& arguments);
  };
  static const Command commands[];

  std::size_t take_command(const char* data, std::size_t size);
  void end_command();
  void execute(const std::string& line);
  void answer(const std::string& verb, const std::string& arguments);

  void lhlo(const std::string& arguments);
  void mail(const std::string& arguments);
  void rcpt(const std::string& arguments);
  void data(const std::string& arguments);
  void rset(const std::string& arguments);
  void noop(const std::string& arguments);
  void quit(const std::string& arguments);
  void vrfy(const std::string& arguments);
  void not_lmtp(const std::string& arguments);
  void not_offered(const std::string& arguments);

  std::optional<Reply> refusal_of(const MailPath& sender) const;
  void add_recipient(const std::string& recipient);

  std::size_t take_message(const char* data, std::size_t size);
  bool keep(const std::string& text);
  void drop(std::size_t size);
  void end_message();
  std::optional<Reply> refusal_of_message() const;

  void reply(int code, const std::string& status, const std::string& text);
  void refuse(int code, const std::string& status, const std::string& text);
  void count_idle();
  void hang_up(const std::string& status, const std::string& text);
  void forget_transaction();
  void flush();

  const std::unique_ptr<Handler> handler_;
  const Limits limits_;
  const std::string host_name_;
  const Server::Output output_;

  std::string line_;           // the command under way, at most longest_command
  bool line_is_long_ = false;  // the bytes that passed that were dropped
  std::string replies_;        // not yet given to output_
  Envelope envelope_;
  bool has_sender_ = false;
  std::optional<DataDecoder> decoder_;  // while a message comes in
  bool has_room_ = true;                // all of the message was kept
  unsigned errors_ = 0;
  unsigned idle_commands_ = 0;
  unsigned refused_recipients_ = 0;
  std::uint64_t dropped_ = 0;  // bytes that were not kept, since the last message
  std::size_t steps_ = 0;
  bool stopping_ = false;
  bool over_ = false;
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_SESSION_H_
