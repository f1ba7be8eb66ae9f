// SPDX-License-Identifier: MIT
#include "app/pagepath.h"

CString PagePath(const CString& path)
{
    const int end = path.FindOneOf("\t;");
    return end < 0 ? path : path.Left(end);
}

CString WithSeparator(const CString& directory)
{
    return directory.View().ends_with('/') ? directory : directory + "/";
}
