// A time for all messages.
#include "apps/quarrow/commands/received_option.h"

#include <sysexits.h>

#include "apps/quarrow/complaint.h"
#include "apps/quarrow/time_text.h"

namespace Quarrow::Command {

void add_received_option(CLI::App& app, std::optional<std::string>& text) {
  add_option(app, "--received", text,
             "When the messages came, such as 2026-05-04 or \"2026-05-04 12:00\"")
      .type_name("TIME");
}

int read_received(const std::optional<std::string>& text, std::optional<std::time_t>& received) {
  if (!text) return EX_OK;
  received = time_of(*text);
  if (received) return EX_OK;
  return complain(*text, "not a time; write it as 2026-05-04 or as \"2026-05-04 12:00\"", EX_USAGE);
}

}  // namespace Quarrow::Command
