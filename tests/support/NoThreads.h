// While it exists, the process can create no thread. Linux only.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>

namespace zv::support {

class NoThreads {
public:
    NoThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        // A stack larger than the address space.
        EXPECT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{1} << 50U), 0);
        EXPECT_EQ(pthread_setattr_default_np(&attributes), 0);
        pthread_attr_destroy(&attributes);
    }
    ~NoThreads() {
        EXPECT_EQ(pthread_setattr_default_np(&before_), 0);
        pthread_attr_destroy(&before_);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t before_{};
};

}  // namespace zv::support
