#include "delivery/helper_process.h"

#include <fcntl.h>
#include <iconv.h>
#include <strings.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zvellparser.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "delivery/execution_form.h"
#include "delivery/header_end.h"
#include "delivery/memory_use.h"
#include "delivery/sandbox.h"
#include "delivery/script_runner.h"
#include "delivery/wire.h"
#include "system/memory_file.h"

namespace Quarrow::Delivery {
namespace {

constexpr int helper_socket = 3;  // behind the standard descriptors

// The charsets that mail is written in. What is not here can't be decoded by a helper, unless the C
// library has it built in (UTF-16, UTF-32).
const std::vector<const char*> charsets = {
    "US-ASCII",    "UTF-8",         "ISO-8859-1",  "ISO-8859-2",  "ISO-8859-3",  "ISO-8859-4",
    "ISO-8859-5",  "ISO-8859-6",    "ISO-8859-7",  "ISO-8859-8",  "ISO-8859-9",  "ISO-8859-10",
    "ISO-8859-11", "ISO-8859-13",   "ISO-8859-14", "ISO-8859-15", "ISO-8859-16", "CP1250",
    "CP1251",      "CP1252",        "CP1253",      "CP1254",      "CP1255",      "CP1256",
    "CP1257",      "CP1258",        "CP437",       "CP850",       "CP852",       "CP866",
    "CP874",       "CP932",         "CP949",       "KOI8-R",      "KOI8-U",      "KOI8-T",
    "MACINTOSH",   "MAC-CYRILLIC",  "TIS-620",     "GB2312",      "GBK",         "GB18030",
    "HZ",          "BIG5",          "BIG5-HKSCS",  "EUC-TW",      "EUC-JP",      "SHIFT_JIS",
    "ISO-2022-JP", "ISO-2022-JP-2", "EUC-KR",      "ISO-2022-KR", "ISO-2022-CN", "JOHAB",
    "UHC",         "TCVN",          "VISCII",      "ARMSCII-8",   "GEORGIAN-PS", "GEORGIAN-ACADEMY",
    "UTF-7",       "RK1048"};

// What text is taken to be that is not in the charset it claims.
const std::vector<const char*> fallback_charsets = {"ISO-8859-1", "CP1252"};

// More are not looked through one by one: a header may be nothing else.
constexpr int most_words = 1000;

class Converter {
 public:
  explicit Converter(const char* charset) : converter_(iconv_open("UTF-8", charset)) {}
  ~Converter() {
    if (converter_ != reinterpret_cast<iconv_t>(-1)) (void)iconv_close(converter_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

 private:
  const iconv_t converter_;
};

// The converters stay open: the C library unloads the code of those that are not used.
void load_charset(const char* charset) {
  static std::deque<Converter> converters;
  converters.emplace_back(charset);
  (void)stringToUtf8("=?" + std::string(charset) + "?q?=41=C4?=", nullptr);
}

// A NUL goes away before decoding, and what is around it may become an encoded word.
bool is_plain_byte(unsigned char c) { return c > 0 && c < 0x80; }

// Takes the rest of an encoded word (RFC 2047), whose "=?" is gone, off `header`, and gives what it
// names as its charset; nothing when decoders may see another word in it.
std::optional<std::string_view> take_charset(std::string_view& header) {
  const std::size_t name = header.find('?');
  const std::size_t encoding = name == header.npos ? name : header.find('?', name + 1);
  const std::size_t end = encoding == header.npos ? encoding : header.find("?=", encoding + 1);
  if (end == header.npos || header.substr(0, end).find("=?") != header.npos) return std::nullopt;
  const std::string_view charset = header.substr(0, name);
  header.remove_prefix(end + 1);  // the last byte may begin another word
  return charset;
}

// Which of `charsets` an encoded word names, with a language or without (RFC 2231); null when it is
// none of them.
const char* known_charset(std::string_view named) {
  constexpr std::string_view registered = "windows-";  // what is CP in shorter names
  std::string name(named.substr(0, named.find('*')));
  if (strcasecmp(name.c_str(), "GB2312") == 0) name = "GBK";  // which holds it: GMime takes that
  if (strncasecmp(name.c_str(), registered.data(), registered.size()) == 0)
    name.replace(0, registered.size(), "CP");
  const auto known = std::find_if(charsets.begin(), charsets.end(), [&name](const char* charset) {
    return strcasecmp(charset, name.c_str()) == 0;
  });
  return known == charsets.end() ? nullptr : *known;
}

// What has to be loaded for decoding a header. Only names of ours are looked up outside a helper:
// the header's are a stranger's.
std::vector<const char*> charsets_for(std::string_view header) {
  if (!std::all_of(header.begin(), header.end(), is_plain_byte)) return charsets;
  std::vector<const char*> needed;
  int words = 0;
  for (std::size_t at = 0; (at = header.find("=?")) != header.npos;) {
    header.remove_prefix(at + 2);
    if (needed.empty()) needed = fallback_charsets;
    const auto named = take_charset(header);
    const char* const known = named ? known_charset(*named) : nullptr;
    if (known == nullptr || ++words > most_words) return charsets;
    if (std::find(needed.begin(), needed.end(), known) == needed.end()) needed.push_back(known);
  }
  return needed;
}

// Only the first call in a process gives true.
bool is_unprepared() {
  static bool prepared = false;
  return !std::exchange(prepared, true);
}

void prepare_with(const std::vector<const char*>& names) {
  tzset();
  for (const char* name : names) load_charset(name);
  (void)execution_form("");  // learns the shape of our scripts
}

// The first evaluation sets up what later ones use.
void evaluate_once() {
  const MemoryFile script;
  const MemoryFile message;
  (void)ScriptRunner(script, 1).run("keep;", message.fd(), 0, 0);
}

bool use_dev_null() {
  const int null = open("/dev/null", O_RDWR);
  if (null < 0) return false;
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    if (dup2(null, fd) < 0) return false;
  return true;
}

// Leaves only the socket, as `helper_socket`, and the standard descriptors, which lead nowhere.
bool shed_descriptors(int socket) {
  // Two steps, since the socket's number may be one of those that are given away.
  const int kept = fcntl(socket, F_DUPFD, helper_socket + 1);
  if (kept < 0 || !use_dev_null() || dup2(kept, helper_socket) < 0) return false;
  return close_range(helper_socket + 1, ~0U, 0) == 0;
}

// The helper ends with its evaluator, and by nothing that is meant for that one: a server that is
// told to stop first finishes what is under way.
bool live_and_die_with(pid_t parent) {
  struct sigaction ignoring = {};
  ignoring.sa_handler = SIG_IGN;
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGPIPE})
    (void)sigaction(signal, &ignoring, nullptr);
  return prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0 && getppid() == parent;
}

// Takes the next request. False when there won't be one any more.
bool evaluate_next(ScriptRunner& runner, Answer& answer) {
  Request request = {};
  std::string script;
  const Descriptor message(receive_request(helper_socket, request, script));
  if (message.get() < 0) return false;
  answer.sequence = request.sequence;
  answer.evaluation = runner.run(script, message.get(), request.size, request.received);
  return true;
}

void serve(int statm, ScriptRunner& runner) {
  // What the server had at the fork counts as the helper's, too.
  const std::uint64_t size_at_start = memory_use(statm).resident;
  Answer answer;
  while (evaluate_next(runner, answer)) {
    const std::uint64_t size = memory_use(statm).resident;
    answer.growth = size - std::min(size, size_at_start);
    const std::string packet = encode(answer);
    if (send(helper_socket, packet.data(), packet.size(), MSG_NOSIGNAL) < 0) return;
  }
}

[[noreturn]] void be_helper(int socket, pid_t parent, const EvaluatorLimits& limits) {
  if (!live_and_die_with(parent) || !shed_descriptors(socket)) _exit(not_confined);
  const MemoryFile script_file;
  const Descriptor statm(open("/proc/self/statm", O_RDONLY | O_CLOEXEC));
  const Confinement confinement = {helper_socket, script_file.fd(), statm.get() + 1, limits.memory,
                                   script_limit};
  if (script_file.fd() < 0 || statm.get() < 0 || !confine(confinement)) _exit(not_confined);
  ScriptRunner runner(script_file, limits.cached_scripts);
  serve(statm.get(), runner);
  _exit(0);
}

}  // namespace

void prepare_for_helpers() {
  if (!is_unprepared()) return;
  prepare_with(charsets);
  evaluate_once();
}

void prepare_for_message(std::string_view message) {
  if (is_unprepared()) prepare_with(charsets_for(header_of(message)));
}

pid_t start_helper(int socket, const EvaluatorLimits& limits) {
  const pid_t parent = getpid();
  const pid_t helper = fork();
  if (helper != 0) return helper;
  // A message may do anything to a helper, but throwing through main() is no way to end one.
  try {
    be_helper(socket, parent, limits);
  } catch (...) {
    std::abort();
  }
}

}  // namespace Quarrow::Delivery
