// SPDX-License-Identifier: Apache-2.0
int inner() {
    return 1;
}
