// SPDX-License-Identifier: Apache-2.0
int inner();

int outer() {
    return inner();
}
