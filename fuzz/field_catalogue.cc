// The catalogues of fields: the administrator's or a user's one is read, changed, written and read
// again. Lines behind the document name fields that are added.
#include <quarrow/user_stores.h>

#include "fuzz/expectation.h"
#include "fuzz/input.h"
#include "fuzz/target.h"
#include "system/memory_file.h"
#include "system/packet.h"

namespace Quarrow::Fuzz {
namespace {

using MessageFilters::Field;
using MessageFilters::UserFields__;

std::string customized_fields(const UserFields__& catalogue) {
  PacketWriter writer;
  for (const Field& field : catalogue.fields) {
    if (!field.customized) continue;
    writer.text(field.type);
    writer.text(field.name);
  }
  return writer.packet();
}

// A catalogue without fields, whatever this machine's system catalogue holds.
UserFields__ empty_catalogue() {
  UserFields__ catalogue{EmailAddress()};
  catalogue.fields.clear();
  return catalogue;
}

// Adds a field; where there was none of that name, it can be removed again.
void add(const std::string& line, UserFields__& catalogue) {
  const std::size_t blank = line.find(' ');
  Field field;
  field.type = line.substr(0, blank);
  if (blank != std::string::npos) field.name = line.substr(blank + 1);
  field.customized = true;
  const std::string before = customized_fields(catalogue);
  if (!catalogue.add_field(field)) {
    expect_equal(before, customized_fields(catalogue), "a refused field changes nothing");
    return;
  }
  expect(!catalogue.add_field(field), "a field is added once");
  expect(catalogue.remove_field(field.name), "a field that was added can be removed");
  expect_equal(before, customized_fields(catalogue), "and leaves nothing");
  (void)catalogue.add_field(field);  // as before
}

void read_and_write(const std::string& input) {
  const Parts parts = parts_of(input, "");
  const MemoryFile file;
  expect(file.write(parts.first), "a document fits into memory");
  for (const bool customized : {false, true}) {
    UserFields__ catalogue = empty_catalogue();
    (void)catalogue.load(file.path(), customized);
    for (const std::string& line : lines_of(parts.second)) add(line, catalogue);
    const MemoryFile written;
    if (!catalogue.persist(written.path())) continue;  // a name holds a NUL
    UserFields__ again = empty_catalogue();
    expect(again.load(written.path(), true), "a catalogue that was written can be read");
    expect_equal(customized_fields(catalogue), customized_fields(again),
                 "it gives the same fields");
  }
}

const Target target("field_catalogue", read_and_write);

}  // namespace
}  // namespace Quarrow::Fuzz
