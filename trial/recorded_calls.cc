// A packet: for each call its kind and what belongs to that.
#include "trial/recorded_calls.h"

#include <optional>
#include <utility>
#include <vector>

#include "delivery/wire.h"

namespace Quarrow::Trial {
namespace {

enum CallKind : std::uint64_t { end, evaluated, not_evaluated, source_failed, progress };

struct Call {
  CallKind kind = end;
  std::string object;
  std::string reason;
  std::uint64_t number = 0;  // of bytes, or the kind of a failure
  Delivery::Evaluation evaluation = {};
};

// Empty when it is not well-formed.
std::optional<Call> read_call(PacketReader& reader) {
  Call call;
  call.kind = static_cast<CallKind>(reader.number(progress));
  if (call.kind == progress || call.kind == source_failed) call.number = reader.number();
  if (call.kind == evaluated || call.kind == not_evaluated || call.kind == source_failed)
    call.object = reader.text();
  if (call.kind == not_evaluated || call.kind == source_failed) call.reason = reader.text();
  if (call.kind == evaluated) {
    auto answer = Delivery::decode(reader.text());
    if (!answer) return std::nullopt;
    call.evaluation = std::move(answer->evaluation);
  }
  if (reader.failed()) return std::nullopt;
  return call;
}

void make(const Call& call, Observer& observer) {
  switch (call.kind) {
    case evaluated:
      return observer.on_result(call.object, call.evaluation);
    case not_evaluated:
      return observer.on_not_evaluated(call.object, call.reason);
    case source_failed:
      return observer.on_failure(
          {call.object, static_cast<SourceFailure::Kind>(call.number), call.reason});
    case progress:
      return observer.on_progress(call.number);
    case end:
      return;
  }
}

}  // namespace

void CallRecorder::on_result(const std::string& name, const Delivery::Evaluation& evaluation) {
  writer_.number(evaluated);
  writer_.text(name);
  Delivery::Answer answer;
  answer.evaluation = evaluation;
  writer_.text(Delivery::encode(answer));
}

void CallRecorder::on_not_evaluated(const std::string& name, const std::string& reason) {
  writer_.number(not_evaluated);
  writer_.text(name);
  writer_.text(reason);
}

void CallRecorder::on_failure(const SourceFailure& failed) {
  has_failure_ = true;
  writer_.number(source_failed);
  writer_.number(static_cast<std::uint64_t>(failed.kind));
  writer_.text(failed.object);
  writer_.text(failed.reason);
}

void CallRecorder::on_progress(std::uint64_t bytes) {
  writer_.number(progress);
  writer_.number(bytes);
}

std::string CallRecorder::finish() {
  writer_.number(end);
  has_failure_ = false;
  return std::exchange(writer_.packet(), "");
}

bool replay(const std::string& record, Observer& observer) {
  PacketReader reader(record);
  std::vector<Call> calls;
  do {
    auto call = read_call(reader);
    if (!call) return false;
    calls.push_back(std::move(*call));
  } while (calls.back().kind != end);
  if (!reader.at_end()) return false;
  for (const Call& call : calls) make(call, observer);
  return true;
}

}  // namespace Quarrow::Trial
