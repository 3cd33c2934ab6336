// SPDX-License-Identifier: Apache-2.0
// Does nothing: the test programs share this one's precompiled headers.
int main() {}
