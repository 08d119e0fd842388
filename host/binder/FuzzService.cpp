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

// The platform's fuzzService, taking its input in the platform's order, so that an input takes
// the same path here as on a phone. Where the host's binder has nothing to match, the bytes are
// taken all the same: a calling identity (the daemon never asks for one), a parcel marked for
// RPC (it carries the same bytes), and a file descriptor or binder object in a parcel (the
// parcel ends there; on a phone a read over the object fails the call too).

#include <fuzzbinder/libbinder_ndk_driver.h>

#include <android-base/logging.h>
#include <android/binder_auto_utils.h>
#include <android/binder_stability.h>
#include <private/android_filesystem_config.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "ThreadPool.h"

namespace android {

namespace {

constexpr uint32_t packChars(char a, char b, char c, char d) {
    return static_cast<uint32_t>(a) << 24 | static_cast<uint32_t>(b) << 16 |
           static_cast<uint32_t>(c) << 8 | static_cast<uint32_t>(d);
}

// IBinder's own transactions: dump, ping, shell command, interface, sysprops, extension, tweet
// and like.
constexpr uint32_t kBinderCodes[] = {packChars('_', 'D', 'M', 'P'), packChars('_', 'P', 'N', 'G'),
                                     packChars('_', 'C', 'M', 'D'), packChars('_', 'N', 'T', 'F'),
                                     packChars('_', 'S', 'P', 'R'), packChars('_', 'E', 'X', 'T'),
                                     packChars('_', 'T', 'W', 'T'), packChars('_', 'L', 'I', 'K')};

// libbinder's transact takes any flags, and a binder of the calling process looks at none of
// them: only the NDK's refusal of flags it does not know is left out.
constexpr binder_flags_t kNdkFlags = FLAG_ONEWAY | FLAG_CLEAR_BUF | FLAG_PRIVATE_VENDOR;

// Parcel::write: the bytes, then zeros up to a multiple of four.
void writeBytes(AParcel* parcel, const std::vector<uint8_t>& bytes) {
    for (size_t at = 0; at < bytes.size(); at += sizeof(int32_t)) {
        int32_t word = 0;
        std::memcpy(&word, bytes.data() + at, std::min(sizeof(word), bytes.size() - at));
        AParcel_writeInt32(parcel, word);
    }
}

// fillRandomParcel, with the target's interface token as its header half of the time. A parcel
// marked for RPC takes all the data left; any other takes chunks of data, file descriptors and
// binders in the order the input picks them.
ndk::ScopedAParcel randomParcel(AIBinder* target, FuzzedDataProvider&& provider) {
    const bool forRpc = provider.ConsumeBool();
    ndk::ScopedAParcel parcel;
    if (provider.ConsumeBool()) {
        (void)AIBinder_prepareTransaction(target, parcel.getR());
    } else {
        parcel.set(AParcel_create());
    }
    if (forRpc) {
        writeBytes(parcel.get(), provider.ConsumeRemainingBytes<uint8_t>());
        return parcel;
    }
    enum : size_t { kData, kFileDescriptor, kBinder };
    while (provider.remaining_bytes() > 0 &&
           provider.ConsumeIntegralInRange<size_t>(kData, kBinder) == kData) {
        writeBytes(parcel.get(),
                   provider.ConsumeBytes<uint8_t>(
                           provider.ConsumeIntegralInRange<size_t>(0, provider.remaining_bytes())));
    }
    return parcel;
}

}  // namespace

void fuzzService(AIBinder* binder, FuzzedDataProvider&& provider) {
    // Reserved: the platform may take more of each input later without changing what it means.
    (void)provider.ConsumeBytes<uint8_t>(8);

    // A calling identity is picked always and set half of the time; the host's binder has none
    // to set.
    (void)provider.PickValueInArray<int64_t>(
            {int64_t{AID_ROOT} << 32, int64_t{AID_SYSTEM} << 32,
             provider.ConsumeIntegralInRange<int64_t>(int64_t{AID_ROOT} << 32,
                                                      int64_t{AID_USER} << 32),
             provider.ConsumeIntegral<int64_t>()});
    (void)provider.ConsumeBool();

    // The binders known: the service's. A host parcel carries no binder, so no reply adds one.
    const std::vector<AIBinder*> binders{binder};
    while (provider.remaining_bytes() > 0) {
        const uint32_t code = provider.ConsumeBool() ? provider.ConsumeIntegral<uint32_t>()
                              : provider.ConsumeBool()
                                      ? provider.ConsumeIntegralInRange<uint32_t>(0, 100)
                                      : provider.PickValueInArray(kBinderCodes);
        const binder_flags_t flags = provider.ConsumeIntegral<uint32_t>();
        AIBinder* target =
                binders.at(provider.ConsumeIntegralInRange<size_t>(0, binders.size() - 1));
        const std::vector<uint8_t> data = provider.ConsumeBytes<uint8_t>(
                provider.ConsumeIntegralInRange<size_t>(0, provider.remaining_bytes()));
        ndk::ScopedAParcel in = randomParcel(target, FuzzedDataProvider(data.data(), data.size()));
        ndk::ScopedAParcel out;
        (void)AIBinder_transact(target, code, in.getR(), out.getR(), flags & kNdkFlags);
    }

    CHECK(!zenth_host::threadPoolStarted())
            << "Binder threadpool should not be started by fuzzer because coverage can only "
               "cover in-process calls.";
}

}  // namespace android
