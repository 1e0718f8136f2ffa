// Names of messages, ours and others.
#include "trial/maildir_name.h"

#include <gtest/gtest.h>

namespace Quarrow::Trial {
namespace {

const struct {
  const char* path;
  std::optional<std::time_t> time;
  bool is_ours;
} names[] = {
    {"new/1777896000.M52P7131Q1.mx.example.org,S=8", 1777896000, true},
    {"cur/1777896000.M52P7131Q1.mx.example.org,S=8:2,S", 1777896000, true},
    {"1777896000.M52P7131Q1.localhost,S=8", 1777896000, true},
    {"1777896000.M52P7131Q1R9c2e51a07bd3f468.localhost,S=8:2,S", 1777896000, true},
    {"1777896000.M52P7131Q1Rx.localhost,S=8", 1777896000, false},
    {"1777896000.M52P7131Q1.localhost,S=8,W=9:2,", 1777896000, false},
    {"1777896000.M52P7131.localhost,S=8,W=9:2,S", 1777896000, false},
    {"1777896000.7131_1.localhost", 1777896000, false},
    {"/1777896000.a.b/1", std::nullopt, false},
    {"1", std::nullopt, false},
    {"2:2,S", std::nullopt, false},
    {"2026.05.04.eml", std::nullopt, false},
    {"177789600000000000000000000.a.b", std::nullopt, false},
    {"1777896000.eml", std::nullopt, false},
    {"1777896000..b", std::nullopt, false},
    {"1777896000.a.", std::nullopt, false},
    {"100000000.a.b", 100000000, false},
    {"17778960.a.b", std::nullopt, false},
    {"-177789600.a.b", std::nullopt, false},
    {"1777896000x.a.b", std::nullopt, false},
    {"1777896000.a..", 1777896000, false},
    {"x1777896000.a.b", std::nullopt, false},
    {"-", std::nullopt, false},
    {"", std::nullopt, false},
};

TEST(MaildirName, TellsWhenTheMessageCameAndWhoStoredIt) {
  for (const auto& c : names) {
    EXPECT_EQ(c.time, time_in_name(c.path)) << c.path;
    EXPECT_EQ(c.is_ours, is_name_of_ours(c.path)) << c.path;
  }
}

}  // namespace
}  // namespace Quarrow::Trial
