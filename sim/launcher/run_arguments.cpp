// The arguments by which another command of the launcher starts an application as `dravik-sim run` does.

#include "launcher/run_arguments.hpp"

namespace dravik::sim {

std::vector<std::string> run_arguments(const tools::command_line &given, size_t first_of_application) {
  const auto &operands = given.operands();
  if (operands.size() <= first_of_application)
    return {};
  std::vector<std::string> arguments = {"dravik-sim", "run", operands[0]};
  for (const std::string &directory : given.values("--writable"))
    arguments.insert(arguments.end(), {"--writable", directory});
  for (const char *option : {"--local-sockets", "--trust"})
    if (given.has(option))
      arguments.emplace_back(option);
  arguments.emplace_back("--");
  arguments.insert(arguments.end(), operands.begin() + static_cast<std::ptrdiff_t>(first_of_application),
                   operands.end());
  return arguments;
}

} // namespace dravik::sim
