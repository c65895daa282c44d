#pragma once

#include <string>
#include <vector>

// The middle one of the values; of an even number the upper of the two. At least
// one value is needed.
double Median(std::vector<double> values);

// The mean of the smaller half of the values. At least two are needed.
double LowerHalfMean(std::vector<double> values);

// Prints figures, each with its limit, and remembers whether all kept theirs.
class Report {
 public:
  void AtMost(const std::string& name, double value, double limit);
  void AtLeast(const std::string& name, double value, double limit);

  // What main() returns: 0, or 1 when a figure broke its limit.
  int ExitCode() const { return m_broken ? 1 : 0; }

 private:
  void print(const std::string& name, double value, double limit, bool kept);

  bool m_broken = false;
};
