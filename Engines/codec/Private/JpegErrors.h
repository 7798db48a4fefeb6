// libjpeg's errors as jumps back to the caller, its messages kept silent.
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

namespace TWQuickTime::codec {

struct JpegErrors {
    jpeg_error_mgr manager;
    std::jmp_buf back;
    int warnings = 0;

    void install() {
        jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr info) {
            std::longjmp(reinterpret_cast<JpegErrors*>(info->err)->back, 1);
        };
        manager.emit_message = [](j_common_ptr info, int level) {
            if (level < 0) {
                ++reinterpret_cast<JpegErrors*>(info->err)->warnings;
            }
        };
        manager.output_message = [](j_common_ptr) {};
    }
};

}  // namespace TWQuickTime::codec
