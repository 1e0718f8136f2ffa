#include "bench/match_subjects.h"

#include <zvellparser.h>

#include "bench/message_set.h"
#include "bench/mixed_rules.h"
#include "delivery/execution_form.h"
#include "system/memory_file.h"

namespace {

std::unique_ptr<Quarrow::SieveMatch> matcher_of(const Quarrow::MemoryFile& script) {
  return std::unique_ptr<Quarrow::SieveMatch>(Quarrow::SieveMatch::Create(script.path(), nullptr));
}

}  // namespace

Compiled compile(int rules) {
  const Quarrow::MemoryFile file;
  mixed_rules(rules, 1)->SaveToSieve(file.path(), true);
  return {matcher_of(file), file.read()};
}

Compiled compile_execution_form(int rules) {
  const Quarrow::MemoryFile file;
  const auto form = Quarrow::Delivery::execution_form(compile(rules).script);
  if (form.branches.empty() || !file.write(form.script)) return {};
  return {matcher_of(file), form.script};
}

std::vector<BareMessage> bare_messages() {
  std::vector<BareMessage> bare;
  for (const BenchMessage& message : bench_messages()) {
    bare.emplace_back();
    bare.back().size = static_cast<int>(message.size);
    for (const char* name : {"subject", "from", "to", "cc", "list-id"}) {
      const Header header = message.part->headers().find(name);
      if (header.isNull()) continue;
      bare.back().headers.push_back({name, stringToUtf8(header.value(), nullptr).data(), {}});
    }
    for (auto& header : bare.back().headers) header.list[0] = header.value.data();
  }
  return bare;
}
