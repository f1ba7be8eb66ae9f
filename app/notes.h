// Joins notes about the page, which share the message field.
#pragma once

#include "platform/cstring.h"

#include <initializer_list>

// Returns the notes that are not empty, in order, with ", " between two of them.
CString JoinNotes(std::initializer_list<CString> notes);
