// SPDX-License-Identifier: MIT
// Runs work in a child process. Use it for work whose effects would remain in this process: peak memory,
// another user id.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

// Runs `work` in a child process and returns its text. If the child dies, the test fails.
std::string InChild(const std::function<std::string()>& work);

// Returns the peak memory of this process so far, in bytes.
int64_t PeakMemory();
