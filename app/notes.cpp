#include "app/notes.h"

CString JoinNotes(std::initializer_list<CString> notes)
{
    CString text;
    for (const CString& note : notes) {
        if (!text.IsEmpty() && !note.IsEmpty())
            text += ", ";
        text += note;
    }
    return text;
}
