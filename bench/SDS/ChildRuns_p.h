// ChildRuns: the same work done anew in child processes, for what a process can do only once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

// For each of so many figures the least of all runs: what the work costs by itself. Whatever else stopped a run, the
// system or another process, stops the next one elsewhere. Empty where there are no child processes.
std::vector<std::int64_t> LeastOfRuns(int iRuns, std::size_t iFigures,
                                      const std::function<void(std::int64_t* oFigures)>& iWork);
