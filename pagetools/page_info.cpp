// SPDX-License-Identifier: MIT
// page-info: prints the header of page files. Decodes nothing.
#include "pagereader.h"
#include "showntext.h"
#include "tool.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace
{
// Returns a formatted text without line ends.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...)
{
    char text[256]; // the longest text of a header field is below 64 bytes
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}

// A field of a record may use all of its bytes and then has no 0 at its end.
template <size_t N>
std::string_view FieldText(const char (&field)[N])
{
    return {field, strnlen(field, N)};
}

std::string KindName(int32_t compression)
{
    switch (compression) {
    case FAXHEADER_UNCOMPRESSED: return "plain";
    case FAXHEADER_SQUEEZE: return "Squeeze";
    case FAXHEADER_GROUP4: return "Group 4";
    case FAXHEADER_JBIG: return "JBIG";
    default: return Format("unknown, %" PRId32, compression);
    }
}

std::string LayerName(int32_t layer)
{
    constexpr const char* kNames[] = {"black", "cyan", "magenta", "yellow"};
    return layer >= 0 && layer < 4 ? kNames[layer]
                                   : Format("spot %" PRIu32, static_cast<uint32_t>(layer) - 4U);
}

std::string Label(const FAXHeader& header)
{
    char label[FAXHEADER_JOB_NAME + 32]; // the job name and two numbers
    FAXHeader_Label(&header, label, sizeof label);
    return label;
}

std::string TimeText(const FAXTime& time)
{
    return Format("%04" PRId64 "-%02" PRId32 "-%02" PRId32 " %02" PRId32 ":%02" PRId32 ":%02" PRId32,
                  int64_t{time.tm_year} + 1900, time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min,
                  time.tm_sec);
}

std::vector<std::string> Destinations(const FAXHeader& header)
{
    std::vector<std::string> names;
    for (int32_t i = 0; i < std::min<int32_t>(header.NumDestinations, FAXHEADER_DESTINATIONS); ++i)
        names.emplace_back(FieldText(header.Destination[i]));
    return names;
}

double DotsPerInch(uint32_t resolution, uint32_t multiplier)
{
    return multiplier == 0 ? 0 : double{1} * resolution / multiplier;
}

// Prints "NAME: TEXT" with the texts in a column.
void PrintLine(const char* name, std::string_view text)
{
    constexpr int kColumn = 20;
    std::printf("%s:%*s%s\n", name, kColumn - 1 - static_cast<int>(strlen(name)), "",
                ShownText(text).c_str());
}

void PrintFields(const char* path, const FAXHeader& header)
{
    PrintLine("Page", PageName(path));
    PrintLine("Label", Label(header));
    PrintLine("Kind", KindName(header.Compression));
    PrintLine("Width", Format("%" PRIu32, header.DataWidth));
    PrintLine("Height", Format("%" PRIu32, header.ImageHeight));
    PrintLine("Image width", Format("%" PRIu32, header.ImageWidth));
    PrintLine("Resolution",
              Format("%.6g x %.6g dpi", DotsPerInch(header.XResolution, header.ResolutionMultiplier),
                     DotsPerInch(header.YResolution, header.ResolutionMultiplier)));
    PrintLine("Stored resolution",
              Format("%" PRIu32 " x %" PRIu32 ", divided by %" PRIu32, header.XResolution, header.YResolution,
                     header.ResolutionMultiplier));
    PrintLine("Job", FieldText(header.JobName));
    if (header.FaxHeaderVersion >= 2)
        PrintLine("Job number", Format("%" PRIu32, header.JobID));
    PrintLine("Page number", Format("%" PRId32 " of %" PRId32, header.PageNumber, header.NumberOfPages));
    PrintLine("Layer", Format("%" PRId32, header.Layer) + ", " + LayerName(header.Layer));
    PrintLine("Creator", FieldText(header.Creator));
    PrintLine("Created", TimeText(header.CreateTime));
    PrintLine("Margins",
              Format("left %" PRIu32 ", right %" PRIu32 ", top %" PRIu32 ", bottom %" PRIu32,
                     header.LeftMargin, header.RightMargin, header.TopMargin, header.BottomMargin));
    PrintLine("Negative", header.ImageNegate ? "yes" : "no");
    PrintLine("Double truck", header.DoubleTruck ? "yes" : "no");
    PrintLine("Mirrored", header.Mirror ? "yes" : "no");
    PrintLine("Rotation", Format("%" PRId32, header.Rotation));
    PrintLine("Priority", Format("%" PRId32, header.Priority));
    PrintLine("PSet", Format("%" PRId32, header.PSet));
    PrintLine("Band height", Format("%" PRIu32, header.BandHeight));
    for (const std::string& destination : Destinations(header))
        PrintLine("Destination", destination);
    if (header.FaxHeaderVersion >= 3)
        PrintLine("Mux", FieldText(header.Mux));
    PrintLine("Header",
              Format("version %" PRId32 ", %" PRIu32 " bytes", header.FaxHeaderVersion, header.HeaderSize));
    PrintLine("Stored size", Format("%" PRIu32, header.Size));
}

void PrintShort(const char* path, const FAXHeader& header)
{
    std::printf("%s: %s: %s, %" PRIu32 " x %" PRIu32 ", %.6g x %.6g dpi\n", ShownText(PageName(path)).c_str(),
                ShownText(Label(header)).c_str(), KindName(header.Compression).c_str(), header.DataWidth,
                header.ImageHeight, DotsPerInch(header.XResolution, header.ResolutionMultiplier),
                DotsPerInch(header.YResolution, header.ResolutionMultiplier));
}

// Collects the members of a JSON object.
class JsonObject
{
public:
    void Text(const char* name, std::string_view text) { Member(name, JsonString(text)); }
    void Number(const char* name, int64_t number) { Member(name, std::to_string(number)); }
    void Flag(const char* name, bool value) { Member(name, value ? "true" : "false"); }
    void Member(const char* name, const std::string& value)
    {
        m_members += (m_members.empty() ? "" : ",") + JsonString(name) + ':' + value;
    }
    void Print() const { std::printf("{%s}\n", m_members.c_str()); }

private:
    std::string m_members;
};

void PrintJson(const char* path, const FAXHeader& header)
{
    JsonObject object;
    object.Text("page", path);
    object.Text("label", Label(header));
    object.Text("kind", KindName(header.Compression));
    object.Number("compression", header.Compression);
    object.Number("width", header.DataWidth);
    object.Number("height", header.ImageHeight);
    object.Number("image_width", header.ImageWidth);
    object.Number("x_resolution", header.XResolution);
    object.Number("y_resolution", header.YResolution);
    object.Number("resolution_multiplier", header.ResolutionMultiplier);
    object.Text("job_name", FieldText(header.JobName));
    object.Number("job_id", header.JobID);
    object.Number("page_number", header.PageNumber);
    object.Number("number_of_pages", header.NumberOfPages);
    object.Number("layer", header.Layer);
    object.Text("layer_name", LayerName(header.Layer));
    object.Text("creator", FieldText(header.Creator));
    object.Text("created", TimeText(header.CreateTime));
    object.Number("left_margin", header.LeftMargin);
    object.Number("right_margin", header.RightMargin);
    object.Number("top_margin", header.TopMargin);
    object.Number("bottom_margin", header.BottomMargin);
    object.Flag("negative", header.ImageNegate != 0);
    object.Flag("double_truck", header.DoubleTruck != 0);
    object.Flag("mirrored", header.Mirror != 0);
    object.Number("rotation", header.Rotation);
    object.Number("priority", header.Priority);
    object.Number("pset", header.PSet);
    object.Number("band_height", header.BandHeight);
    std::string destinations;
    for (const std::string& destination : Destinations(header))
        destinations += (destinations.empty() ? "" : ",") + JsonString(destination);
    object.Member("destinations", '[' + destinations + ']');
    object.Text("mux", FieldText(header.Mux));
    object.Number("header_version", header.FaxHeaderVersion);
    object.Number("header_size", header.HeaderSize);
    object.Number("stored_size", header.Size);
    object.Print();
}

void PrintNotGood(const char* path, const PageReader& page, bool as_json)
{
    const std::string text = VerdictText(page.GetVerdict(), 0);
    if (StatusOf(page.GetVerdict()) == kFailed) {
        PrintMessage(PageName(path) + ": " + text);
    } else if (as_json) {
        JsonObject object;
        object.Text("page", path);
        object.Text("error", page.GetVerdict().text);
        object.Print();
    } else {
        std::printf("%s: %s\n", ShownText(PageName(path)).c_str(), ShownText(text).c_str());
    }
}

int ShowAll(const Arguments& arguments)
{
    const bool as_json = arguments.Has('j');
    const bool in_short = arguments.Has('s');
    if (as_json && in_short)
        throw UsageError{"-s and -j cannot be used together"};
    int status = kGood;
    bool first = true;
    for (const char* const path : arguments.Pages()) {
        PageReader page;
        const bool good = page.ReadHeader(path);
        status = std::max(status, StatusOf(page.GetVerdict()));
        if (!as_json && !in_short && StatusOf(page.GetVerdict()) != kFailed) {
            if (!first)
                std::putchar('\n');
            first = false;
        }
        if (!good)
            PrintNotGood(path, page, as_json);
        else if (as_json)
            PrintJson(path, page.Header());
        else if (in_short)
            PrintShort(path, page.Header());
        else
            PrintFields(path, page.Header());
    }
    return status;
}

constexpr ToolOption kOptions[] = {
    {'s', nullptr, "print one line per page"},
    {'j', nullptr, "print one JSON object per page, each on a line of its own"},
};
constexpr Tool kTool{
    "page-info", "PAGE...", "Prints the header and the label of page files. Decodes nothing.", kOptions, 1,
    SIZE_MAX,    ShowAll};
} // namespace

int main(int argc, char** argv)
{
    return RunTool(kTool, argc, argv);
}
