// The daemon's side of a session: users' folders, a spool, and delivery by the users' rules.
#ifndef QUARROW_LMTP_DELIVERY_HANDLER_H_
#define QUARROW_LMTP_DELIVERY_HANDLER_H_

#include <cstdint>
#include <ctime>
#include <string>

#include "delivery/recipient_lookup.h"
#include "delivery/trace_headers.h"
#include "lmtp/delivery_counters.h"
#include "lmtp/delivery_record.h"
#include "lmtp/evaluation_memory.h"
#include "lmtp/limits.h"
#include "lmtp/session.h"
#include "lmtp/spool.h"
#include "quarrow/delivery/mailbox_delivery.h"

namespace Quarrow::Lmtp {

// Where things are.
struct Places {
  std::string root;   // the users' folders, as mailuser_set_root has it
  std::string spool;  // the folder of messages that come in
  std::string host_name;
  // Any of these characters begins the extension of an address; empty: none does.
  std::string recipient_delimiter = {};
  Delivery::AddressCase address_case = Delivery::AddressCase::folded;
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  std::uint64_t most_in_memory = Limits{}.in_memory;  // bytes of a message that is not spooled
  bool keeps_journal = false;  // whether deliveries are noted in the users' folders
};

// Delivers a session's messages. Users are looked up as look_up_recipient does it; the root itself
// is the sign that their disk is mounted.
class DeliveryHandler : public Handler {
 public:
  // `metrics` outlives this object. The log names `client`, the address of the client that a proxy
  // told, unless it is empty.
  DeliveryHandler(Places places, Delivery::Evaluate evaluate, DeliveryCounters& metrics,
                  std::string client = {});

  // 250 2.1.5; 550 5.1.1 for an unknown user; 450 4.2.1 for a user who is being moved; 451 4.3.0
  // when that can't be told now.
  Reply check_recipient(const std::string& recipient) override;

  // As users are looked up: extensions tell recipients apart, though they have one user.
  std::string spelling_of(const std::string& recipient) const override;

  bool open_message() override;
  bool add(const char* data, std::size_t size) override;

  // 250 2.0.0 for a message that is on disk, or that a rule discards; 550 5.7.1 with the text of
  // the rule that rejects it; 554 5.4.6 for a message that the recipient had before; 450 4.2.1 for
  // a user who is being moved; 451 4.3.0 for all failures. Logs a line and counts, and warns where
  // the user's journal was not written. The line is a warning where the message is in the inbox
  // after a failure, and an error where the reply is 451.
  Reply deliver(const Envelope& envelope, const std::string& recipient) override;

  void close_message() override;

 private:
  Reply deliver_unless_it_loops(const Envelope& envelope, const std::string& recipient,
                                DeliveryRecord& record);
  Reply conclude(const Delivery::Report& report, DeliveryRecord& record);
  Delivery::RecipientLookup look_up(const std::string& recipient) const;
  Delivery::Report deliver_to(const Envelope& envelope, const Delivery::RecipientLookup& lookup,
                              const std::string& headers);
  Delivery::Reception reception_of(const Envelope& envelope) const;
  void count(const Delivery::Report& report);

  const Places places_;
  const Delivery::Evaluate evaluate_;
  DeliveryCounters& metrics_;
  const std::string client_;
  Spool spool_;
  EvaluationMemory evaluations_;
  std::time_t received_ = 0;
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_DELIVERY_HANDLER_H_
