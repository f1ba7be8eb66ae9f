// A printer as a target, for the print loop and the preview.
#pragma once

#include "platform/dc.h"
#include "platform/view.h"

#include <QPainter>
#include <QPrinter>
#include <functional>

// Draws on the printer's painter, which must be active for as long as the target lives. Coordinates are
// device pixels from the upper left corner of the printable rectangle.
std::unique_ptr<DeviceTarget> MakePrinterTarget(QPrinter* printer, QPainter* painter);

// Replaces the print dialog; see SetPrintDialogHook.
extern std::function<CString(CPrintInfo&)> g_print_dialog_hook;
