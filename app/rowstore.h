// SPDX-License-Identifier: MIT
// The row store of the document: a contiguous range of decoded rows, filled when rows are requested.
//
// Usually the store is a mapped temporary file that has room for the whole page. If there is no such file,
// the store is a heap block with as many rows as memory allows. These rows are a window that moves over the
// page. The image is read only forward. To go back, it is read again from row 0.
//
// The store has no class: its fields and functions are members of CLumentaDoc, and rowstore.cpp defines the
// functions. Between two calls of GetRows:
//
// - Row r with m_nWindowFirst <= r <= m_nLastRow is at RowAddress(r).
// - m_nLastRow - m_nWindowFirst + 1 is never above m_nWindowRows.
// - m_nLastRow equals the image's CurrentRow until m_bReadError is set.
// - m_hTempFile says which kind of store is in use: it is kInvalidFile for a heap block.
#pragma once

#include <cstdint>

// The rows that the store holds.
struct RowWindow {
    int32_t rows;  // m_nWindowRows
    int32_t first; // m_nWindowFirst
    int32_t last;  // m_nLastRow
};

// How the window moves before rows are read for a request.
struct WindowMove {
    int32_t first; // number of the row in the first slot after the move
    bool rereads;  // the image is read again from row 0, and the window is empty
    int32_t shift; // number of the slot whose row moves to the first slot; 0 if no rows move
    int32_t kept;  // rows that move by `shift` slots
};

// Returns the move for a request for rows first to first + count - 1 of a page of `depth` rows. The limits of
// a request are those of CLumentaDoc::GetRows.
[[nodiscard]] WindowMove PlanWindowMove(const RowWindow& window, int32_t depth, int32_t first, int32_t count);
