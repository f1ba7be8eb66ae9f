// SPDX-License-Identifier: MIT
// Records events in their order, each as a line of text.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

class Recorder
{
public:
    void Add(std::string line) { m_lines.push_back(std::move(line)); }
    std::vector<std::string> Take() { return std::exchange(m_lines, {}); }
    const std::vector<std::string>& Lines() const { return m_lines; }
    auto Count(const std::string& line) const { return std::count(m_lines.begin(), m_lines.end(), line); }

private:
    std::vector<std::string> m_lines;
};
