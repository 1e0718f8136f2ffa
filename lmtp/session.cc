// The commands and their replies.
#include "lmtp/session.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <utility>

#include "system/printable.h"
#include "system/utf8.h"

namespace Quarrow::Lmtp {
namespace {

// The value of SIZE (RFC 1870): up to 20 digits. Nothing for another form; a number beyond all
// limits for a value that fits no number.
std::optional<std::uint64_t> parse_size(const std::string& text) {
  if (text.empty() || text.size() > 20 || text.find_first_not_of("0123456789") != std::string::npos)
    return std::nullopt;
  if (text.size() == 20) return UINT64_MAX;
  return std::stoull(text);
}

}  // namespace

const Session::Command Session::commands[] = {
    {"LHLO", &Session::lhlo},           {"MAIL", &Session::mail},
    {"RCPT", &Session::rcpt},           {"DATA", &Session::data},
    {"RSET", &Session::rset},           {"NOOP", &Session::noop},
    {"QUIT", &Session::quit},           {"VRFY", &Session::vrfy},
    {"HELO", &Session::not_lmtp},       {"EHLO", &Session::not_lmtp},
    {"EXPN", &Session::not_offered},    {"HELP", &Session::not_offered},
    {"AUTH", &Session::not_offered},    {"BDAT", &Session::not_offered},
    {"STARTTLS", &Session::not_offered}};

Session::Session(std::unique_ptr<Handler> handler, const Limits& limits, std::string host_name,
                 Server::Output output)
    : handler_(std::move(handler)),
      limits_(limits),
      host_name_(std::move(host_name)),
      output_(std::move(output)) {}

void Session::greet() {
  reply(220, "", host_name_ + " LMTP Quarrow");
  flush();
}

void Session::take(const char* data, std::size_t size) {
  while (size > 0 && !over_) {
    const std::size_t used = decoder_ ? take_message(data, size) : take_command(data, size);
    data += used;
    size -= used;
  }
  flush();
}

void Session::stop() {
  stopping_ = true;
  if (!has_sender_ && !over_) hang_up("4.3.2", "The server is stopping");
  flush();
}

void Session::time_out() {
  if (!over_) hang_up("4.4.2", "You were silent for too long");
  flush();
}

void Session::give_way() {
  if (!over_) hang_up("4.3.2", "Others are waiting: come again");
  flush();
}

void Session::abandon() {
  forget_transaction();
  over_ = true;
}

// A LF without CR ends a command, too, so that both sides stay in step, but such a command does not
// run.
std::size_t Session::take_command(const char* data, std::size_t size) {
  const void* const lf = std::memchr(data, '\n', size);
  const std::size_t length =
      lf != nullptr ? static_cast<std::size_t>(static_cast<const char*>(lf) - data) + 1 : size;
  line_is_long_ = line_is_long_ || line_.size() + length > longest_command;
  if (line_is_long_)
    drop(length);
  else
    line_.append(data, length);
  if (lf != nullptr && !over_) end_command();
  return length;
}

void Session::end_command() {
  const std::string line = std::exchange(line_, "");
  const bool is_ended_right = line.size() >= 2 && line[line.size() - 2] == '\r';
  if (std::exchange(line_is_long_, false))
    refuse(500, "5.5.2", "The line is too long");
  else if (!is_ended_right)
    refuse(500, "5.5.2", "A line ends with CR and LF");
  else
    execute(line.substr(0, line.size() - 2));
  if (stopping_ && !has_sender_ && !over_) hang_up("4.3.2", "The server is stopping");
}

void Session::execute(const std::string& line) {
  if (has_control_characters(line))
    return refuse(500, "5.5.2", "Control characters are not understood");
  const std::size_t verb_end = std::min(line.find(' '), line.size());
  const std::size_t start = std::min(line.find_first_not_of(' ', verb_end), line.size());
  const std::size_t end = line.find_last_not_of(' ') + 1;
  answer(ascii_upper(line.substr(0, verb_end)),
         start < end ? line.substr(start, end - start) : std::string());
}

void Session::answer(const std::string& verb, const std::string& arguments) {
  const auto command = std::find_if(std::begin(commands), std::end(commands),
                                    [&verb](const Command& each) { return each.verb == verb; });
  if (command == std::end(commands)) return refuse(500, "5.5.1", "The command is not known");
  (this->*command->run)(arguments);
}

void Session::lhlo(const std::string& arguments) {
  if (arguments.empty()) return refuse(501, "5.5.4", "Syntax: LHLO name");
  forget_transaction();
  envelope_.client = arguments;
  replies_ += "250-" + host_name_ + "\r\n250-PIPELINING\r\n250-ENHANCEDSTATUSCODES\r\n" +
              "250-8BITMIME\r\n250-SIZE " + std::to_string(limits_.message) +
              "\r\n250 SMTPUTF8\r\n";
  count_idle();
}

void Session::mail(const std::string& arguments) {
  if (envelope_.client.empty()) return refuse(503, "5.5.1", "Say LHLO first");
  if (has_sender_) return refuse(503, "5.5.1", "There is a sender already");
  const auto sender = parse_mail_path(arguments, "FROM:");
  if (!sender) return refuse(501, "5.5.4", "Syntax: MAIL FROM:<address> parameters");
  if (const auto refusal = refusal_of(*sender))
    return refuse(refusal->code, refusal->status, refusal->text);
  has_sender_ = true;
  envelope_.sender = sender->mailbox;
  envelope_.utf8 = sender->parameters.count("SMTPUTF8") > 0;
  reply(250, "2.1.0", "Sender accepted");
  count_idle();
}

std::optional<Reply> Session::refusal_of(const MailPath& sender) const {
  for (const auto& [keyword, value] : sender.parameters) {
    if (keyword == "SIZE") {
      const auto size = parse_size(value);
      if (!size) return Reply{501, "5.5.4", "Syntax: SIZE=number"};
      if (*size > limits_.message) return Reply{552, "5.3.4", "The message is too big"};
    } else if (keyword == "BODY") {
      if (ascii_upper(value) != "7BIT" && ascii_upper(value) != "8BITMIME")
        return Reply{501, "5.5.4", "Syntax: BODY=7BIT or BODY=8BITMIME"};
    } else if (keyword == "SMTPUTF8") {
      if (!value.empty()) return Reply{501, "5.5.4", "SMTPUTF8 has no value"};
    } else {
      return Reply{555, "5.5.4", "The parameter is not known"};
    }
  }
  if (!is_utf8(sender.mailbox)) return Reply{501, "5.1.7", "The address is not UTF-8"};
  if (is_eight_bit(sender.mailbox) && sender.parameters.count("SMTPUTF8") == 0)
    return Reply{553, "5.6.7", "Such a sender needs SMTPUTF8"};
  return std::nullopt;
}

void Session::rcpt(const std::string& arguments) {
  if (!has_sender_) return refuse(503, "5.5.1", "Say MAIL first");
  const auto recipient = parse_mail_path(arguments, "TO:");
  if (!recipient) return refuse(501, "5.5.4", "Syntax: RCPT TO:<address>");
  if (recipient->mailbox.empty() || !is_utf8(recipient->mailbox))
    return refuse(501, "5.1.3", "That is no address");
  if (!recipient->parameters.empty()) return refuse(555, "5.5.4", "The parameter is not known");
  if (is_eight_bit(recipient->mailbox) && !envelope_.utf8)
    return refuse(553, "5.6.7", "Such a recipient needs SMTPUTF8");
  add_recipient(recipient->mailbox);
}

void Session::add_recipient(const std::string& recipient) {
  const Reply answer = envelope_.recipients.size() < limits_.recipients
                           ? handler_->check_recipient(recipient)
                           : Reply{452, "4.5.3", "Too many recipients"};
  reply(answer.code, answer.status, answer.text);
  if (answer.is_positive()) {
    envelope_.recipients.push_back(recipient);
    return;
  }
  if (++refused_recipients_ >= most_refused_recipients)
    hang_up("4.7.0", "Too many recipients were refused");
}

void Session::data(const std::string& arguments) {
  if (!arguments.empty()) return refuse(501, "5.5.4", "DATA has no arguments");
  if (!has_sender_) return refuse(503, "5.5.1", "Say MAIL first");
  if (envelope_.recipients.empty()) return refuse(503, "5.5.1", "There is no valid recipient");
  has_room_ = handler_->open_message();
  if (!has_room_) return reply(452, "4.3.1", "There is no room for a message");
  decoder_.emplace(limits_.line);
  reply(354, "", "Send the message, and a line with a dot alone");
}

void Session::rset(const std::string& arguments) {
  if (!arguments.empty()) return refuse(501, "5.5.4", "RSET has no arguments");
  forget_transaction();
  reply(250, "2.0.0", "Forgotten");
  count_idle();
}

void Session::noop(const std::string&) {
  reply(250, "2.0.0", "Done");
  count_idle();
}

void Session::quit(const std::string& arguments) {
  if (!arguments.empty()) return refuse(501, "5.5.4", "QUIT has no arguments");
  reply(221, "2.0.0", "Bye");
  over_ = true;
}

void Session::vrfy(const std::string& arguments) {
  if (arguments.empty()) return refuse(501, "5.5.4", "Syntax: VRFY address");
  reply(252, "2.0.0", "Try to send to it");
  count_idle();
}

void Session::not_lmtp(const std::string&) { refuse(500, "5.5.1", "This is LMTP: say LHLO"); }

void Session::not_offered(const std::string&) { refuse(502, "5.5.1", "That is not offered"); }

std::size_t Session::take_message(const char* data, std::size_t size) {
  std::string text;
  const std::size_t used = decoder_->decode(data, size, text);
  if (!keep(text)) drop(used);
  if (decoder_->is_complete() && !over_) end_message();
  return used;
}

// A message that will be refused in the end needs no room. False for such a message.
bool Session::keep(const std::string& text) {
  if (!has_room_ || refusal_of_message()) return false;
  has_room_ = text.empty() || handler_->add(text.data(), text.size());
  return has_room_;
}

// A client that never pauses would not be slow.
void Session::drop(std::size_t size) {
  dropped_ += size;
  if (dropped_ / most_dropped_messages > limits_.message && !over_)
    hang_up("4.7.0", "Too much was sent in vain");
}

std::optional<Reply> Session::refusal_of_message() const {
  if (decoder_->has_bare_lf()) return Reply{554, "5.6.0", "A line ends with LF alone"};
  if (decoder_->has_long_line()) return Reply{554, "5.5.2", "A line is too long"};
  if (decoder_->size() > limits_.message) return Reply{552, "5.3.4", "The message is too big"};
  if (!has_room_) return Reply{452, "4.3.1", "There is no room for the message"};
  return std::nullopt;
}

// A recipient that was named twice, be it in two spellings, gets the message once, and both replies
// are of that delivery.
void Session::end_message() {
  const auto refusal = refusal_of_message();
  std::map<std::string, Reply> outcomes;
  for (const std::string& recipient : envelope_.recipients) {
    const auto [entry, is_first] = outcomes.try_emplace(handler_->spelling_of(recipient));
    Reply& outcome = entry->second;
    if (is_first) outcome = refusal ? *refusal : handler_->deliver(envelope_, recipient);
    reply(outcome.code, outcome.status, outcome.text);
    flush();           // a client need not wait for, nor repeat, a delivery that is done
    if (over_) break;  // it is gone, and will repeat the recipients without a reply
  }
  ++steps_;
  errors_ = idle_commands_ = refused_recipients_ = 0;
  dropped_ = 0;
  forget_transaction();
  if (stopping_ && !over_) hang_up("4.3.2", "The server is stopping");
}

void Session::reply(int code, const std::string& status, const std::string& text) {
  replies_ += reply_line({code, status, text});
}

void Session::refuse(int code, const std::string& status, const std::string& text) {
  reply(code, status, text);
  if (++errors_ >= most_errors) hang_up("4.7.0", "Too many errors");
}

void Session::count_idle() {
  if (++idle_commands_ >= most_idle_commands) hang_up("4.7.0", "Too many commands, no message");
}

void Session::hang_up(const std::string& status, const std::string& text) {
  reply(421, status, text);
  over_ = true;
}

void Session::forget_transaction() {
  if (decoder_) handler_->close_message();
  decoder_.reset();
  has_sender_ = false;
  envelope_.sender.clear();
  envelope_.utf8 = false;
  envelope_.recipients.clear();
}

void Session::flush() {
  if (!replies_.empty() && !output_(replies_)) over_ = true;
  replies_.clear();
}

}  // namespace Quarrow::Lmtp
