// Notes about the page that share the message field.
#pragma once

#include "platform/cstring.h"

#include <initializer_list>

// The notes that are not empty, in their order, with ", " between two.
CString JoinNotes(std::initializer_list<CString> notes);
