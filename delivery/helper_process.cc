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
#include <string>
#include <string_view>
#include <vector>

#include "delivery/memory_file.h"
#include "delivery/read_at.h"
#include "delivery/sandbox.h"
#include "delivery/script_runner.h"
#include "delivery/wire.h"

namespace Quarrow {
namespace Delivery {
namespace {

constexpr int helper_socket = 3;  // behind the standard descriptors

// The charsets that mail is written in. What is not here can't be decoded by a helper, unless the C
// library has it built in (ASCII, UTF-8, UTF-16, UTF-32).
const std::vector<const char*> charsets = {"ISO-8859-1",  "ISO-8859-2",
                                           "ISO-8859-3",  "ISO-8859-4",
                                           "ISO-8859-5",  "ISO-8859-6",
                                           "ISO-8859-7",  "ISO-8859-8",
                                           "ISO-8859-9",  "ISO-8859-10",
                                           "ISO-8859-11", "ISO-8859-13",
                                           "ISO-8859-14", "ISO-8859-15",
                                           "ISO-8859-16", "CP1250",
                                           "CP1251",      "CP1252",
                                           "CP1253",      "CP1254",
                                           "CP1255",      "CP1256",
                                           "CP1257",      "CP1258",
                                           "CP437",       "CP850",
                                           "CP852",       "CP866",
                                           "CP874",       "CP932",
                                           "CP949",       "KOI8-R",
                                           "KOI8-U",      "KOI8-T",
                                           "MACINTOSH",   "MAC-CYRILLIC",
                                           "TIS-620",     "GB2312",
                                           "GBK",         "GB18030",
                                           "HZ",          "BIG5",
                                           "BIG5-HKSCS",  "EUC-TW",
                                           "EUC-JP",      "SHIFT_JIS",
                                           "ISO-2022-JP", "ISO-2022-JP-2",
                                           "EUC-KR",      "ISO-2022-KR",
                                           "ISO-2022-CN", "JOHAB",
                                           "UHC",         "TCVN",
                                           "VISCII",      "ARMSCII-8",
                                           "GEORGIAN-PS", "GEORGIAN-ACADEMY",
                                           "UTF-7",       "RK1048"};

// What text is taken to be that is not in the charset it claims.
const std::vector<const char*> fallback_charsets = {"ISO-8859-1", "CP1252"};

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

// Up to its first empty line.
std::string_view header_of(std::string_view message) {
  const std::size_t end = std::min(message.find("\n\n"), message.find("\n\r\n"));
  return message.substr(0, end);
}

// Whether a header has nothing but ASCII, with encoded words in ASCII and UTF-8 at most (RFC 2047).
bool is_without_charsets(std::string_view header) {
  if (std::any_of(header.begin(), header.end(), [](char c) { return (c & 0x80) != 0; }))
    return false;
  for (std::size_t at = 0; (at = header.find("=?", at)) != header.npos; at += 2) {
    const char* const name = header.data() + at + 2;
    const std::size_t left = header.size() - at - 2;
    if ((left < 6 || strncasecmp(name, "utf-8?", 6) != 0) &&
        (left < 9 || strncasecmp(name, "us-ascii?", 9) != 0)) {
      return false;
    }
  }
  return true;
}

// The first evaluation sets up what later ones use, the shape of our scripts among it.
void evaluate_once() {
  const MemoryFile script;
  const MemoryFile message;
  (void)ScriptRunner(script, 1).run("keep;", message.fd(), 0, 0);
}

// Only the first call does something.
void prepare_with(const std::vector<const char*>& names) {
  static bool prepared = false;
  if (prepared) return;
  prepared = true;
  tzset();
  for (const char* name : names) load_charset(name);
  evaluate_once();
}

bool use_dev_null() {
  const int null = open("/dev/null", O_RDWR);
  if (null < 0) return false;
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (dup2(null, fd) < 0) return false;
  }
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
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM, SIGPIPE}) {
    (void)sigaction(signal, &ignoring, nullptr);
  }
  return prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0 && getppid() == parent;
}

// Bytes of memory in use; `statm` is /proc/self/statm (proc(5)).
std::uint64_t process_size(int statm) {
  char text[128] = "";
  if (read_at(statm, text, sizeof text - 1, 0) <= 0) return 0;
  char* resident = nullptr;
  (void)std::strtoull(text, &resident, 10);
  static const long page_size = sysconf(_SC_PAGESIZE);
  return std::strtoull(resident, nullptr, 10) * static_cast<std::uint64_t>(page_size);
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
  const std::uint64_t size_at_start = process_size(statm);
  Answer answer;
  while (evaluate_next(runner, answer)) {
    const std::uint64_t size = process_size(statm);
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

void prepare_for_helpers() { prepare_with(charsets); }

void prepare_for_message(std::string_view message) {
  if (!is_without_charsets(header_of(message))) return prepare_for_helpers();
  prepare_with(fallback_charsets);
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

}  // namespace Delivery
}  // namespace Quarrow
