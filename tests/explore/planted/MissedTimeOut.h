// SPDX-License-Identifier: Apache-2.0
// Is included before the source of the gateway: a gateway that waits for its module without a time-out.
#pragma once

#include <velrix/gpio/Sysfs_InputPin.h>
#include <velrix/platform/Platform.h>

#define OxboReset(ramLoaderEnable, timeout)                                                                            \
    OxboReset(ramLoaderEnable, (timeout)*0);                                                                           \
    const auto irq = Velrix::Gpio::Sysfs_InputPin::Create("OXBO_IRQ_N", "/var/dev/gpio-inputs/oxboIrqN/value");        \
    while (irq->Get())                                                                                                 \
    System::Threading::Thread::USleep(TICK_US)
