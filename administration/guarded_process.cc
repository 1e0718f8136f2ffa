// A child process around work that may abort, and a pipe for what comes of it.
#include "administration/guarded_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <optional>

#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/packet.h"
#include "system/process_end.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;

void write(PacketWriter& writer, const Refusal& refusal) {
  writer.number(static_cast<std::uint64_t>(refusal.kind));
  writer.text(refusal.object);
  writer.text(refusal.reason);
}

Refusal read_refusal(PacketReader& reader) {
  Refusal refusal;
  refusal.kind = static_cast<Kind>(reader.number(static_cast<std::uint64_t>(Kind::unavailable)));
  refusal.object = reader.text();
  refusal.reason = reader.text();
  return refusal;
}

std::string encode(const GuardedOutcome& outcome) {
  PacketWriter writer;
  write(writer, outcome.refusal);
  writer.text(outcome.answer);
  write(writer, outcome.remark);
  return writer.packet();
}

// Nothing unless the packet is whole.
std::optional<GuardedOutcome> decode(const std::string& packet) {
  PacketReader reader(packet);
  GuardedOutcome outcome;
  outcome.refusal = read_refusal(reader);
  outcome.answer = reader.text();
  outcome.remark = read_refusal(reader);
  if (!reader.at_end()) return std::nullopt;
  return outcome;
}

GuardedOutcome outcome_of(const std::function<GuardedOutcome()>& work) {
  try {
    return work();
  } catch (const std::exception& error) {  // a library that is missing, say, or memory
    return {{Kind::unavailable, "unexpected", error.what()}, ""};
  }
}

// Whoever ends the parent, at a deadline for example, ends the work.
void end_with(pid_t parent) {
  (void)prctl(PR_SET_PDEATHSIG, SIGKILL);  // without it the work ends by itself
  if (getppid() != parent) _exit(1);       // it was too late for that
}

[[noreturn]] void run_child(int pipe, pid_t parent, const std::function<GuardedOutcome()>& work) {
  end_with(parent);
  const rlimit no_core = {0, 0};
  (void)setrlimit(RLIMIT_CORE, &no_core);  // without it there is a core file at worst
  (void)std::signal(SIGABRT, SIG_DFL);     // the parent tells a failed assertion by it
  _exit(write_all(pipe, encode(outcome_of(work))) ? 0 : 1);
}

std::string read_to_end(int fd) {
  std::string text;
  while (append_from(fd, text) > 0) continue;
  return text;
}

Refusal refusal_of_end(const std::string& document, const ProcessEnd& end) {
  if (end.signal == SIGABRT)
    return {Kind::damaged_document, document,
            "damaged filter document: a filter in it is incomplete or holds a wrong word; "
            "restore it from a copy, or remove it to start anew"};
  if (end.signal != 0)
    return {Kind::crashed, document, std::string("loading it was ended: ") + strsignal(end.signal)};
  return {Kind::crashed, document,
          "loading it ended without an answer, with the exit status " + std::to_string(end.status)};
}

GuardedOutcome no_process(const char* call, int error) {
  return {{Kind::try_again, call, std::strerror(error)}, ""};
}

}  // namespace

GuardedOutcome run_guarded(const std::string& document,
                           const std::function<GuardedOutcome()>& work) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return no_process("pipe", errno);
  const Descriptor reading_end(ends[0]);
  const pid_t parent = getpid();
  const pid_t child = fork();
  const int error = errno;
  if (child == 0) run_child(ends[1], parent, work);
  (void)close(ends[1]);  // so that reading ends with the child
  if (child < 0) return no_process("fork", error);
  const std::string packet = read_to_end(reading_end.get());
  const ProcessEnd end = wait_for(child);
  if (const auto outcome = decode(packet)) return *outcome;
  return {refusal_of_end(document, end), ""};
}

}  // namespace Quarrow::Administration
