// SPDX-License-Identifier: Apache-2.0
// Is included before the source of the gateway: a gateway that throws what it does not catch when the module answers
// late. After a tenth of the time, since a wait for the module takes much time to run.
#pragma once

#include <System/Exceptions.h>
#include <velrix/platform/Platform.h>

#define OxboReset(ramLoaderEnable, timeout) OxboReset(ramLoaderEnable, (timeout) / 10)
#define TimeoutException(message) TimeoutException(message).Message()->ToUtf8()
