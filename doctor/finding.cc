// Findings as packets.
#include "doctor/finding.h"

#include "system/packet.h"

namespace Quarrow::Doctor {

const char* word_of(Severity severity) {
  static const char* const words[] = {"info", "warning", "error", "mended"};
  return words[static_cast<int>(severity)];
}

bool matters(const Finding& finding) {
  return finding.severity == Severity::warning || finding.severity == Severity::error;
}

std::string packet_of(const Findings& findings) {
  PacketWriter writer;
  writer.number(findings.size());
  for (const Finding& finding : findings) {
    writer.number(static_cast<std::uint64_t>(finding.severity));
    for (const std::string* text :
         {&finding.code, &finding.object, &finding.reason, &finding.advice})
      writer.text(*text);
  }
  return std::move(writer.packet());
}

std::optional<Findings> findings_in(std::string_view packet) {
  PacketReader reader(packet);
  Findings findings;
  for (std::uint64_t left = reader.number(packet.size()); left > 0 && !reader.failed(); --left) {
    Finding finding;
    finding.severity =
        static_cast<Severity>(reader.number(static_cast<std::uint64_t>(Severity::mended)));
    for (std::string* text : {&finding.code, &finding.object, &finding.reason, &finding.advice})
      *text = reader.text();
    findings.push_back(std::move(finding));
  }
  if (!reader.at_end()) return std::nullopt;
  return findings;
}

}  // namespace Quarrow::Doctor
