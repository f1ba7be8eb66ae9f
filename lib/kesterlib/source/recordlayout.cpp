// SPDX-License-Identifier: MIT
// The sizes and offsets of the public records on systems with 64-bit pointers. Programs that use the shared
// library were compiled with these numbers. If a line here fails, the change can break those programs. Put
// new data into the private records instead, such as Frame in run_frame.h. Fields may be appended to a record
// that only the library makes, such as callback_block: then correct its size here. If any other change is
// necessary, correct the lines, and increase soversion and the major version (see CMakeLists.txt). A new
// public record must be added.
#include "kesterlib/callback.h"
#include "kesterlib/commandline.h"
#include "kesterlib/faxhdr.h"
#include "kesterlib/jbig.h"
#include "kesterlib/scale.h"
#include "kesterlib/uncompress.h"

#include <cstddef>

#if defined(__LP64__)
#define SIZE(record, bytes) static_assert(sizeof(record) == (bytes))
#define OFFSET(record, field, bytes) static_assert(offsetof(record, field) == (bytes))

SIZE(memory_debug_record, 48);
OFFSET(memory_debug_record, size, 0);
OFFSET(memory_debug_record, allocated_by, 8);
OFFSET(memory_debug_record, freed_by, 16);
OFFSET(memory_debug_record, tick, 24);
OFFSET(memory_debug_record, pointer, 32);
OFFSET(memory_debug_record, next, 40);

SIZE(callback_block, 176);
OFFSET(callback_block, file, 0);
OFFSET(callback_block, message_file, 8);
OFFSET(callback_block, fclose, 16);
OFFSET(callback_block, fread, 24);
OFFSET(callback_block, fwrite, 32);
OFFSET(callback_block, fopen, 40);
OFFSET(callback_block, fseek, 48);
OFFSET(callback_block, ftell, 56);
OFFSET(callback_block, feof, 64);
OFFSET(callback_block, fflush, 72);
OFFSET(callback_block, ferror, 80);
OFFSET(callback_block, fprintf, 88);
OFFSET(callback_block, message, 96);
OFFSET(callback_block, message_fflush, 104);
OFFSET(callback_block, allocate, 112);
OFFSET(callback_block, deallocate, 120);
OFFSET(callback_block, exit, 128);
OFFSET(callback_block, debug_memory, 136);
OFFSET(callback_block, allocated_list, 144);
OFFSET(callback_block, freed_list, 152);
OFFSET(callback_block, tick, 160);
OFFSET(callback_block, allocation_count, 164);
OFFSET(callback_block, deallocation_count, 168);
OFFSET(callback_block, failed_allocation_count, 172);

SIZE(option_record, 32);
OFFSET(option_record, name, 0);
OFFSET(option_record, help, 8);
OFFSET(option_record, argument_count, 16);
OFFSET(option_record, handler, 24);

SIZE(FAXTime, 36);
OFFSET(FAXTime, tm_sec, 0);
OFFSET(FAXTime, tm_min, 4);
OFFSET(FAXTime, tm_hour, 8);
OFFSET(FAXTime, tm_mday, 12);
OFFSET(FAXTime, tm_mon, 16);
OFFSET(FAXTime, tm_year, 20);
OFFSET(FAXTime, tm_wday, 24);
OFFSET(FAXTime, tm_yday, 28);
OFFSET(FAXTime, tm_isdst, 32);

SIZE(FAXHeader, 1248);
OFFSET(FAXHeader, FaxHeaderVersion, 0);
OFFSET(FAXHeader, HeaderSize, 4);
OFFSET(FAXHeader, Size, 8);
OFFSET(FAXHeader, JobName, 12);
OFFSET(FAXHeader, PageNumber, 44);
OFFSET(FAXHeader, NumberOfPages, 48);
OFFSET(FAXHeader, Creator, 52);
OFFSET(FAXHeader, CreateTime, 68);
OFFSET(FAXHeader, ImageWidth, 104);
OFFSET(FAXHeader, ImageHeight, 108);
OFFSET(FAXHeader, DataWidth, 112);
OFFSET(FAXHeader, BandHeight, 116);
OFFSET(FAXHeader, Compression, 120);
OFFSET(FAXHeader, ResolutionMultiplier, 124);
OFFSET(FAXHeader, XResolution, 128);
OFFSET(FAXHeader, YResolution, 132);
OFFSET(FAXHeader, LeftMargin, 136);
OFFSET(FAXHeader, RightMargin, 140);
OFFSET(FAXHeader, TopMargin, 144);
OFFSET(FAXHeader, BottomMargin, 148);
OFFSET(FAXHeader, Layer, 152);
OFFSET(FAXHeader, PSet, 156);
OFFSET(FAXHeader, ImageNegate, 160);
OFFSET(FAXHeader, DoubleTruck, 164);
OFFSET(FAXHeader, Mirror, 168);
OFFSET(FAXHeader, Rotation, 172);
OFFSET(FAXHeader, Priority, 176);
OFFSET(FAXHeader, NumDestinations, 180);
OFFSET(FAXHeader, Destination, 184);
OFFSET(FAXHeader, JobID, 1208);
OFFSET(FAXHeader, Mux, 1212);

SIZE(jbig_limits, 16);
OFFSET(jbig_limits, stripe_bytes, 0);
OFFSET(jbig_limits, pixels, 8);

SIZE(jbig_data, 176);
OFFSET(jbig_data, block, 0);
OFFSET(jbig_data, bytes_left, 8);
OFFSET(jbig_data, width, 12);
OFFSET(jbig_data, height, 16);
OFFSET(jbig_data, stripe_lines, 20);
OFFSET(jbig_data, row_bytes, 24);
OFFSET(jbig_data, row_stride, 28);
OFFSET(jbig_data, stripe_buffer, 32);
OFFSET(jbig_data, first_row, 40);
OFFSET(jbig_data, stripe_buffer_end, 48);
OFFSET(jbig_data, next_row, 56);
OFFSET(jbig_data, adaptor, 64);
OFFSET(jbig_data, lines_delivered, 72);
OFFSET(jbig_data, lines_left, 76);
OFFSET(jbig_data, input_buffer, 80);
OFFSET(jbig_data, io_buffer, 88);
OFFSET(jbig_data, io_buffer_end, 96);
OFFSET(jbig_data, ct, 104);
OFFSET(jbig_data, qm_a, 108);
OFFSET(jbig_data, qm_c, 112);
OFFSET(jbig_data, error_count, 116);
OFFSET(jbig_data, error_line, 120);
OFFSET(jbig_data, error_file, 128);
OFFSET(jbig_data, error_text, 136);
OFFSET(jbig_data, reset_pending, 144);
OFFSET(jbig_data, marker_seen, 148);
OFFSET(jbig_data, owns_block, 152);
OFFSET(jbig_data, stripe_number, 156);
OFFSET(jbig_data, line_in_stripe, 160);
OFFSET(jbig_data, column, 164);
OFFSET(jbig_data, buffer_origin, 168);

SIZE(scale_engine, 112);
OFFSET(scale_engine, scale, 0);
OFFSET(scale_engine, bytes, 8);
OFFSET(scale_engine, shorts, 16);
OFFSET(scale_engine, width, 24);
OFFSET(scale_engine, height, 28);
OFFSET(scale_engine, invert, 32);
OFFSET(scale_engine, user_data, 40);
OFFSET(scale_engine, cell_bytes, 48);
OFFSET(scale_engine, up_shift, 52);
OFFSET(scale_engine, down_shift, 56);
OFFSET(scale_engine, out_width, 60);
OFFSET(scale_engine, row_bytes, 64);
OFFSET(scale_engine, cell_area, 68);
OFFSET(scale_engine, rows_seen, 72);
OFFSET(scale_engine, rows_in_cell, 76);
OFFSET(scale_engine, loops, 80);
OFFSET(scale_engine, counts, 88);
OFFSET(scale_engine, counted_rows, 96);
OFFSET(scale_engine, shift_before, 100);
OFFSET(scale_engine, multiplier, 104);
OFFSET(scale_engine, shift_after, 108);

SIZE(UNCOMP, 632);
OFFSET(UNCOMP, cb, 0);
OFFSET(UNCOMP, width, 8);
OFFSET(UNCOMP, row_bytes, 12);
OFFSET(UNCOMP, cur_list, 16);
OFFSET(UNCOMP, ref_list, 24);
OFFSET(UNCOMP, cur_end, 32);
OFFSET(UNCOMP, ref_end, 40);
OFFSET(UNCOMP, bits_hi, 48);
OFFSET(UNCOMP, bits_lo, 50);
OFFSET(UNCOMP, bitsloaded, 52);
OFFSET(UNCOMP, rows_done, 56);
OFFSET(UNCOMP, list_block, 64);
OFFSET(UNCOMP, bytes_before, 72);
OFFSET(UNCOMP, buf_start, 80);
OFFSET(UNCOMP, in_buffer, 88);
OFFSET(UNCOMP, in_ptr, 600);
OFFSET(UNCOMP, in_end, 608);
OFFSET(UNCOMP, error_text, 616);
OFFSET(UNCOMP, eol_seen, 624);
OFFSET(UNCOMP, owns_cb, 628);
#endif
