/*
 * Copyright (C) 2026 Zenth
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

#pragma once

// Invariant checks shared by the fuzz harnesses.

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace fuzz {

// Prints what broke and aborts, so that libFuzzer keeps the input.
void require(bool condition, const char* what);

// The lowest descriptor number free now: a descriptor left open by a call takes it.
int lowestFreeDescriptor();

// Watches the reserve partition image: any byte outside the ranges allowed for the current input
// that changes is a failure.
class PartitionWatch {
  public:
    explicit PartitionWatch(const std::string& hostPath);
    ~PartitionWatch();
    PartitionWatch(const PartitionWatch&) = delete;
    PartitionWatch& operator=(const PartitionWatch&) = delete;

    void allow(off_t offset, size_t length) { allowed_.emplace_back(offset, length); }
    // Setup of the next input: writes the bytes into the image as the baseline.
    void set(off_t offset, const std::string& bytes);
    // Fails on a change outside the allowed ranges; the image becomes the new baseline.
    void check();

  private:
    // Drains the change notifications; whether there were any.
    bool written();

    int fd_ = -1;
    int watch_ = -1;
    size_t size_ = 0;
    const char* image_ = nullptr;
    std::string baseline_;
    std::vector<std::pair<off_t, size_t>> allowed_;
};

}  // namespace fuzz
