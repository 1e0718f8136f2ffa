// Feeds of a webmail provider's filters, imported.
#include "fuzz/imports.h"
#include "fuzz/target.h"

namespace Quarrow::Fuzz {
namespace {

void import(const std::string& text) { (void)import_rules(Importing::RulesFormat::webmail, text); }

const Target target("webmail_import", import);

}  // namespace
}  // namespace Quarrow::Fuzz
