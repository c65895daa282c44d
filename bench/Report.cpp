#include "Report.h"

#include <algorithm>
#include <cstdio>
#include <numeric>

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double LowerHalfMean(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  values.resize(values.size() / 2);
  return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
}

void Report::AtMost(const std::string& name, double value, double limit) {
  print(name, value, limit, value <= limit);
}

void Report::AtLeast(const std::string& name, double value, double limit) {
  print(name, value, limit, value >= limit);
}

void Report::print(const std::string& name, double value, double limit, bool kept) {
  std::printf("%s: %.3f (limit %g)%s\n", name.c_str(), value, limit, kept ? "" : " BROKEN");
  std::fflush(stdout);
  m_broken = m_broken || !kept;
}
