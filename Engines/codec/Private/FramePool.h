// Memory for the pictures of one decoder, reused, in large pages. Pictures may outlive the pool.
#pragma once

#include <mutex>

#include "Engines/codec/Private/Native.h"

namespace TWQuickTime::codec {

class FramePool {
  public:
    FramePool() = default;
    ~FramePool();
    FramePool(const FramePool&) = delete;
    FramePool& operator=(const FramePool&) = delete;

    /// Before the decoder is opened. The pool must outlive the context.
    void serve(AVCodecContext& context);

  private:
    /// What the library calls for memory, from any of its threads.
    static int getBuffer(AVCodecContext* context, AVFrame* frame, int flags);
    bool giveMemory(AVCodecContext& context, AVFrame& frame);
    AVBufferRef* take(std::size_t byteCount);

    std::mutex mutex_;
    AVBufferPool* pool_ = nullptr;
    std::size_t pieceBytes_ = 0;
};

}  // namespace TWQuickTime::codec
