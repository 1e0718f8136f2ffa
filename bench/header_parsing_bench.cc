// Parsing a message takes the time of its headers, whatever its size.

#include <benchmark/benchmark.h>
#include <zvellparser.h>

#include <string>

namespace {

std::string message_of(std::size_t size) {
  std::string message =
      "Return-Path: <sender@example.org>\n"
      "Received: from mail.example.org (mail.example.org [192.0.2.1])\n"
      "\tby mx.example.com with ESMTP id 12345; Wed, 12 May 2010 10:00:00 +0000\n"
      "From: =?utf-8?q?J=C3=B6rg?= <joerg@example.org>\n"
      "To: \"Example, Alice\" <alice@example.com>, bob@example.com\n"
      "Subject: =?iso-8859-1?q?Gr=FC=DFe?= from the road\n"
      "Date: Wed, 12 May 2010 10:00:00 +0000\n"
      "Message-ID: <1@example.org>\n"
      "MIME-Version: 1.0\n"
      "Content-Type: multipart/mixed; boundary=\"next\"\n\n";
  while (message.size() < size)
    message += "VGhpcyBpcyBwYXJ0IG9mIGFuIGF0dGFjaG1lbnQgdGhhdCBpcyBsYXJnZS4=\n";
  return message;
}

// The argument is the message's size in KB.
void ParseHeaders(benchmark::State& state) {
  const std::string message = message_of(static_cast<std::size_t>(state.range(0)) * 1000);
  for (auto _ : state) {
    const auto part = MimePart::parse(message.data(), message.size());
    benchmark::DoNotOptimize(part->headers().find("subject"));
  }
}
BENCHMARK(ParseHeaders)->Arg(20)->Arg(20000)->Unit(benchmark::kMicrosecond);

}  // namespace
