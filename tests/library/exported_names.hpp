// The names of src/exports.map, each with its address in this program.
#pragma once

#include <vector>

struct exported_name {
  const char *name;
  const void *address;
};

extern const std::vector<exported_name> exported_names;
