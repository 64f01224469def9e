// The report of a run: the library's medians next to those of the reference libraries and of the
// lower bound.

#include "ratio_table.hpp"

#include "harness.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sys/utsname.h>

namespace bench {
namespace {

/// A ratio this much above its target is noise.
constexpr double tolerance = 1.03;

/// The value below which this part of all values is; 0 for no values.
double quantile(std::vector<double> values, double part) {
  if (values.empty())
    return 0;
  const auto place = static_cast<ptrdiff_t>(part * static_cast<double>(values.size() - 1) + 0.5);
  std::ranges::nth_element(values, values.begin() + place);
  return values[static_cast<size_t>(place)];
}

double median(const std::vector<double> &values) {
  return quantile(values, 0.5);
}

contender *find(const std::string &benchmark_name) {
  for (const auto &row : rows())
    for (const auto &c : row->contenders)
      if (benchmark_name == row->name + '/' + c->name)
        return c.get();
  return nullptr;
}

/// The quickest contender of a part, or null.
const contender *best(const row_record &row, role part) {
  const contender *found = nullptr;
  for (const auto &c : row.contenders)
    if (c->part == part && !c->times.empty() && (!found || median(c->times) < median(found->times)))
      found = c.get();
  return found;
}

std::string time_text(double ns) {
  std::array<char, 32> text;
  const bool is_long = ns >= 10000;
  std::snprintf(text.data(), text.size(),
                ns < 100  ? "%.1f ns"
                : is_long ? "%.1f us"
                          : "%.0f ns",
                is_long ? ns / 1000 : ns);
  return text.data();
}

/// A ratio with its target, and whether it misses.
struct verdict {
  std::string ratio = "-", target = "-";
  bool missed = false;
};

verdict judge(double library, const contender *other, double limit) {
  verdict v;
  std::array<char, 32> text;
  if (other != nullptr) {
    const double ratio = library / median(other->times);
    std::snprintf(text.data(), text.size(), "%.2f", ratio);
    v.ratio = text.data();
    v.missed = limit != 0 && ratio > limit * tolerance;
  }
  if (limit != 0) {
    std::snprintf(text.data(), text.size(), "%.2f", limit);
    v.target = text.data();
  }
  return v;
}

/// Whether the library is as fast as the lower bound, and the target of the reference library is
/// below that.
bool is_bound(const row_record &row, double library) {
  const contender *peer = best(row, role::peer), *floor = best(row, role::floor);
  if (peer == nullptr || floor == nullptr)
    return false;
  const double limit = median(floor->times);
  return limit >= row.limits.peer * median(peer->times) && library >= 0.9 * limit;
}

void print_row(const row_record &row) {
  const contender *library = best(row, role::library);
  if (library == nullptr)
    return;
  const double calls = static_cast<double>(row.calls), time = median(library->times);
  const contender *peer = best(row, role::peer), *floor = best(row, role::floor);
  const verdict by_peer = judge(time, peer, row.limits.peer);
  const verdict by_floor = judge(time, floor, row.limits.floor);
  std::string peer_text = "-";
  if (peer != nullptr)
    peer_text = peer->name + (peer->note.empty() ? " " : "* ") + time_text(median(peer->times) / calls);
  std::string misses;
  if (by_peer.missed)
    misses = is_bound(row, time) ? "peer (bound)" : "peer";
  if (by_floor.missed)
    misses += misses.empty() ? "floor" : ", floor";
  std::printf("| %-32s | %9s | %-24s | %5s | %6s | %9s | %5s | %6s | %-12s |\n", row.name.c_str(),
              time_text(time / calls).c_str(), peer_text.c_str(), by_peer.ratio.c_str(),
              by_peer.target.c_str(), floor ? time_text(median(floor->times) / calls).c_str() : "-",
              by_floor.ratio.c_str(), by_floor.target.c_str(), misses.c_str());
}

void print_notes(const row_record &row) {
  for (const auto &c : row.contenders) {
    if (c->part == role::peer && !c->note.empty() && !c->times.empty())
      std::printf("* %s, %s: %s\n", row.name.c_str(), c->name.c_str(), c->note.c_str());
    if (!c->error.empty())
      std::printf("* **%s, %s: %s**\n", row.name.c_str(), c->name.c_str(), c->error.c_str());
  }
}

void print_distributions() {
  const auto measured = [](const auto &each) { return !each->microseconds.empty(); };
  if (std::ranges::none_of(distributions(), measured))
    return;
  std::printf("\n| from the call to               | times |   median | 99 of 100 below |  longest |\n"
              "|:-------------------------------|------:|---------:|----------------:|---------:|\n");
  for (const auto &each : distributions())
    if (measured(each))
      std::printf("| %-30s | %5zu | %5.0f us | %12.0f us | %5.0f us |\n", each->name.c_str(),
                  each->microseconds.size(), median(each->microseconds), quantile(each->microseconds, 0.99),
                  quantile(each->microseconds, 1));
}

} // namespace

bool ratio_table::ReportContext(const Context &context) {
  utsname machine = {};
  ::uname(&machine);
  std::printf("%s, %d processors of %.0f MHz, gcc %s\n\n", machine.machine, context.cpu_info.num_cpus,
              context.cpu_info.cycles_per_second / 1e6, __VERSION__);
  return true;
}

void ratio_table::ReportRuns(const std::vector<Run> &runs) {
  for (const Run &run : runs) {
    contender *c = run.run_type == Run::RT_Iteration ? find(run.run_name.function_name) : nullptr;
    if (c == nullptr)
      continue;
    if (run.error_occurred) {
      c->error = run.error_message;
      failed_ = true;
    } else {
      c->times.push_back(run.GetAdjustedCPUTime());
    }
  }
}

void ratio_table::Finalize() {
  std::printf("| %-32s | %9s | %-24s | %5s | %6s | %9s | %5s | %6s | %-12s |\n", "a call of", "library",
              "best peer", "ratio", "target", "floor", "ratio", "target", "misses");
  std::printf("|:---------------------------------|----------:|:-------------------------|------:|-------:|"
              "----------:|------:|-------:|:-------------|\n");
  for (const auto &row : rows())
    print_row(*row);
  std::printf("\nPeers marked * do not paint the same pixels:\n\n");
  for (const auto &row : rows())
    print_notes(*row);
  print_distributions();
}

} // namespace bench
