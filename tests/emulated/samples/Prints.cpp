// SPDX-License-Identifier: Apache-2.0
#include <iostream>

int main() {
    std::cout << 6 * 7;
}
