// Printing of counts.
#include "apps/quarrow/tally_table.h"

#include <cstdint>
#include <iomanip>
#include <string>

#include "message_filters/mailbox_name.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

void print_row(std::ostream& out, int width, std::uint64_t count, const std::string& place) {
  if (count > 0) out << std::setw(width) << count << "  " << place << '\n';
}

}  // namespace

void print_table(const Trial::Tally& tally, std::ostream& out) {
  // no place gets more than all messages
  const int width = static_cast<int>(std::to_string(tally.messages).size());
  for (const auto& [folder, count] : tally.folders)
    print_row(out, width, count,
              "folder " + printable(MessageFilters::readable_mailbox_name(folder)));
  print_row(out, width, tally.kept, "kept");
  print_row(out, width, tally.rejected, "rejected");
  print_row(out, width, tally.discarded, "discarded");
  print_row(out, width, tally.errors, "error");
  print_row(out, width, tally.not_evaluated, "not evaluated");
  out << std::setw(width) << tally.messages
      << (tally.messages == 1 ? "  message\n" : "  messages\n");
}

}  // namespace Quarrow::Command
