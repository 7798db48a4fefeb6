// Marks what the shared library shows to hosts; everything else stays hidden.
#pragma once

#define TWQT_EXPORT __attribute__((visibility("default")))
