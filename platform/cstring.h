// SPDX-License-Identifier: MIT
// Text of the application layer: UTF-8 bytes in a shared, reference-counted block. Copies share the block,
// and a change makes a new one. Bytes that are not valid UTF-8 are kept unchanged.
#pragma once

#include <memory>
#include <string>
#include <string_view>

class CString
{
public:
    CString() = default;
    CString(const char* text); // null counts as empty
    CString(std::string_view text);
    CString(const std::string& text) : CString(std::string_view{text}) {}

    [[nodiscard]] bool IsEmpty() const { return View().empty(); }
    void Empty() { m_text.reset(); }
    [[nodiscard]] int GetLength() const { return static_cast<int>(View().size()); } // bytes
    // index: 0 to GetLength() - 1, not checked.
    char operator[](int index) const { return View()[static_cast<size_t>(index)]; }

    [[nodiscard]] const char* c_str() const { return m_text ? m_text->c_str() : ""; }
    [[nodiscard]] std::string_view View() const
    {
        return m_text ? std::string_view{*m_text} : std::string_view{};
    }

    // Return the first or last `count` bytes, or the bytes from `first` on. Numbers out of range are clamped.
    [[nodiscard]] CString Left(int count) const;
    [[nodiscard]] CString Right(int count) const;
    [[nodiscard]] CString Mid(int first) const;
    // Return the index of a byte, or -1 if there is none.
    [[nodiscard]] int Find(char wanted) const;                // the first such byte
    [[nodiscard]] int ReverseFind(char wanted) const;         // the last such byte
    [[nodiscard]] int FindOneOf(std::string_view set) const;  // the first byte that is in the set
    [[nodiscard]] int FindLastOf(std::string_view set) const; // the last byte that is in the set
    // Compares without regard to the case of ASCII letters. Returns a negative number, 0 or a positive
    // number.
    [[nodiscard]] int CompareNoCase(std::string_view other) const;

    // Replaces the text by the output of printf for these arguments.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    CString& operator+=(std::string_view text);
    friend CString operator+(const CString& a, std::string_view b)
    {
        CString sum = a;
        sum += b;
        return sum;
    }
    operator std::string_view() const { return View(); }
    friend bool operator==(const CString& a, const CString& b) { return a.View() == b.View(); }
    friend bool operator==(const CString& a, const char* b) { return a.View() == b; }

private:
    std::shared_ptr<const std::string> m_text; // null if the text is empty
};

// A line of a two-column table.
struct NamedText {
    CString name;
    CString value;
};
