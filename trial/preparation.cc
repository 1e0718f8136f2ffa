// Looking ahead at the only message.
#include "trial/preparation.h"

#include <filesystem>

#include "delivery/helper_process.h"
#include "trial/mail_contents.h"

namespace Quarrow::Trial {

void prepare_for(const std::vector<MailSource>& sources) {
  if (sources.size() != 1) return;
  const MailSource& source = sources.front();
  std::error_code error;
  if (source.is_standard_input() || !std::filesystem::is_regular_file(source.path, error)) return;
  MailContents contents;
  if (contents.open(source)) return;
  if (contents.bytes().substr(0, 5) == "From ") return;  // an mbox file of many, as it seems
  Delivery::prepare_for_message(contents.bytes());
}

}  // namespace Quarrow::Trial
