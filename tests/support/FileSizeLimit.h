#pragma once

#include <signal.h>
#include <sys/resource.h>

// Lowers the process's file size limit while it lives; a write past it is cut short or
// fails with EFBIG instead of raising SIGXFSZ.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &saved_);
        savedHandler_ = signal(SIGXFSZ, SIG_IGN);
        rlimit limit = {bytes, saved_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &saved_);
        signal(SIGXFSZ, savedHandler_);
    }

  private:
    rlimit saved_{};
    sighandler_t savedHandler_;
};
