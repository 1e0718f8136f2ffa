// Packets between an evaluator and its helper, and those of processes that share a trial.
#include <sys/socket.h>

#include <algorithm>

#include "delivery/wire.h"
#include "fuzz/expectation.h"
#include "fuzz/target.h"
#include "system/descriptor.h"
#include "trial/recorded_calls.h"

namespace Quarrow::Fuzz {
namespace {

void try_answer(const std::string& packet) {
  const auto answer = Delivery::decode(packet);
  if (!answer) return;
  const std::string written = encode(*answer);
  const auto again = Delivery::decode(written);
  expect(again.has_value(), "an answer can be read");
  expect_equal(written, encode(*again), "and is the same");
  expect(again->value == answer->value && again->sequence == answer->sequence, "its value, too");
}

void try_request(const std::string& packet) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return;
  const Descriptor helper(ends[0]);
  {
    const Descriptor evaluator(ends[1]);
    (void)send(evaluator.get(), packet.data(), packet.size(), MSG_DONTWAIT);
  }
  Delivery::Request request{};
  std::string script;
  std::string header;
  (void)receive_request(helper.get(), request, script, header);  // it comes to an end
}

void try_record(const std::string& record) {
  Trial::CallRecorder recorder;
  if (!replay(record, recorder)) return;
  const std::string written = recorder.finish();
  Trial::CallRecorder again;
  expect(replay(written, again), "a record can be read");
  expect_equal(written, again.finish(), "and is the same");
}

void try_packet(const std::string& packet) {
  try_answer(packet);
  try_request(packet);
  try_record(packet);
}

const Target target("helper_packets", try_packet);

}  // namespace
}  // namespace Quarrow::Fuzz
