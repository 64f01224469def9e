// Changes a variable of the environment while an object lives.
#pragma once

#include <cstdlib>
#include <string>

namespace dravik::test {

class changed_variable {
public:
  changed_variable(const char *name, const char *value) : name_(name) {
    const char *before = std::getenv(name);
    before_ = before != nullptr ? before : "";
    ::setenv(name, value, 1);
  }
  ~changed_variable() { before_.empty() ? ::unsetenv(name_) : ::setenv(name_, before_.c_str(), 1); }
  changed_variable(const changed_variable &) = delete;
  changed_variable &operator=(const changed_variable &) = delete;

private:
  const char *name_;
  std::string before_;
};

} // namespace dravik::test
