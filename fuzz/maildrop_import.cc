// Filter files of maildrop, imported.
#include "fuzz/imports.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

void import(const std::string& text) { (void)import_rules(Importing::RulesFormat::maildrop, text); }

const Target target("maildrop_import", import);

}  // namespace
}  // namespace Quarrow::Fuzz
