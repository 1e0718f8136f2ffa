// A parser that goes down one level for each block and each test, within bounds.
#include "importing/sieve_syntax.h"

#include <utility>

#include "importing/sieve_tokens.h"

namespace Quarrow::Importing {
namespace {

using TokenKind = SieveToken::Kind;

constexpr std::size_t most_block_levels = 32;  // of blocks and tests inside each other
constexpr std::size_t most_nodes = 20000;      // commands and tests of one script
constexpr std::size_t most_texts = 100000;     // strings of one script

class Parser {
 public:
  Parser(const std::string& text, std::size_t line) : tokens_(text, line), token_(tokens_.next()) {}

  bool commands(std::vector<SieveNode>& nodes, bool in_block) {
    while (token_.kind == TokenKind::word) {
      nodes.emplace_back();
      if (!command(nodes.back())) return false;
    }
    return in_block ? take("}") : token_.kind == TokenKind::end || fail("a command is missing");
  }

  bool test(SieveNode& node) { return name(node, "a test is missing") && arguments(node) && up(); }

  bool is_at_end() const { return token_.kind == TokenKind::end; }
  const SieveFault& fault() const { return fault_; }

 private:
  bool fail(const std::string& reason) {
    if (!fault_.reason.empty()) return false;
    fault_ = {token_.line, token_.kind == TokenKind::fault ? token_.text : reason};
    return false;
  }

  void advance() { token_ = tokens_.next(); }

  bool is(const char* punctuation) const {
    return token_.kind == TokenKind::punctuation && token_.text == punctuation;
  }

  bool take(const char* punctuation) {
    if (!is(punctuation)) return fail(std::string("\"") + punctuation + "\" is missing");
    advance();
    return true;
  }

  bool up() {
    --level_;
    return true;
  }

  // Goes down a level; up() is its opposite.
  bool name(SieveNode& node, const char* missing) {
    if (token_.kind != TokenKind::word) return fail(missing);
    if (++level_ > most_block_levels) return fail("blocks or tests are too deep inside each other");
    if (++nodes_ > most_nodes) return fail("there are too many commands");
    node.line = token_.line;
    node.name = token_.text;
    node.comment = token_.comment;
    advance();
    return true;
  }

  bool command(SieveNode& node) {
    if (!name(node, "a command is missing") || !arguments(node)) return false;
    if (is(";")) return take(";") && up();
    node.block_comment = token_.comment;
    node.block_comment_line = token_.line;
    return take("{") && commands(node.block, true) && up();
  }

  bool arguments(SieveNode& node) {
    while (token_.kind == TokenKind::tag || token_.kind == TokenKind::number ||
           token_.kind == TokenKind::text || is("["))
      if (!argument(node)) return false;
    if (token_.kind == TokenKind::word) {
      node.tests.emplace_back();
      return test(node.tests.back());
    }
    return !is("(") || test_list(node.tests);
  }

  bool argument(SieveNode& node) {
    node.arguments.emplace_back();
    SieveArgument& argument = node.arguments.back();
    if (is("[")) return text_list(argument);
    if (token_.kind == TokenKind::text) return text(argument);
    if (++nodes_ > most_nodes) return fail("there are too many arguments");
    argument.kind =
        token_.kind == TokenKind::tag ? SieveArgument::Kind::tag : SieveArgument::Kind::number;
    argument.tag = token_.text;
    argument.number = token_.number;
    advance();
    return true;
  }

  bool text(SieveArgument& argument) {
    if (token_.kind != TokenKind::text) return fail("a text is missing");
    if (++texts_ > most_texts) return fail("there are too many texts");
    argument.kind = SieveArgument::Kind::texts;
    argument.texts.push_back({token_.text, token_.raw});
    advance();
    return true;
  }

  bool text_list(SieveArgument& argument) {
    do {
      advance();
      if (!text(argument)) return false;
    } while (is(","));
    return take("]");
  }

  bool test_list(std::vector<SieveNode>& tests) {
    do {
      advance();
      tests.emplace_back();
      if (!test(tests.back())) return false;
    } while (is(","));
    return take(")");
  }

  SieveTokens tokens_;
  SieveToken token_;
  SieveFault fault_;
  std::size_t level_ = 0;
  std::size_t nodes_ = 0;
  std::size_t texts_ = 0;
};

}  // namespace

std::optional<std::vector<SieveNode>> parse_sieve(const std::string& script, SieveFault& fault) {
  Parser parser(script, 1);
  std::vector<SieveNode> nodes;
  if (parser.commands(nodes, false)) return nodes;
  fault = parser.fault();
  return std::nullopt;
}

std::optional<SieveNode> parse_sieve_test(const std::string& text, std::size_t line) {
  Parser parser(text, line);
  SieveNode node;
  if (!parser.test(node) || !parser.is_at_end()) return std::nullopt;
  return node;
}

}  // namespace Quarrow::Importing
