// Work in a process of its own, for what would stay with this one: peak memory, another user.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

// Runs work in a child; the text that it gives comes back. A child that dies is a failure of the test.
std::string InChild(const std::function<std::string()>& work);

// Peak memory of this process so far, in bytes.
int64_t PeakMemory();
