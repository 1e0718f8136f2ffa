// Configuration and file system helpers of the example host.
#ifndef BASE_H_
#define BASE_H_

#include <cstdint>
#include <string>

struct SystemRecord {
  std::uint32_t capacity_grade;
};

struct ConfigurationDatabase {
  SystemRecord* system;
};

extern ConfigurationDatabase cmdb;

int create_path(const std::string& path, int mode);

#endif  // BASE_H_
