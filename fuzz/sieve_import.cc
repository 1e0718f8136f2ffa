// Sieve scripts of other programs, imported.
#include "fuzz/imports.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

void import(const std::string& text) { (void)import_rules(Importing::RulesFormat::sieve, text); }

const Target target("sieve_import", import);

}  // namespace
}  // namespace Quarrow::Fuzz
