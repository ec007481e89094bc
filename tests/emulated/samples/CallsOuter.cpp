// SPDX-License-Identifier: Apache-2.0
int outer();

int main() {
    return outer();
}
