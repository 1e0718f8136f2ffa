// Recipes of procmail, imported.
#include "fuzz/imports.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

void import(const std::string& text) { (void)import_rules(Importing::RulesFormat::procmail, text); }

const Target target("procmail_import", import);

}  // namespace
}  // namespace Quarrow::Fuzz
