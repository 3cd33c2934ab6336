// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

namespace vexil::platform {

/// Programming errors: what a caller must not do, whatever the data. Bad data never throws one of
/// these: it reads as absent, or comes back as an error value that names the place.
///
/// Each derives from the standard exception that a caller would expect to catch.

/// An index lies outside of the list it was used on. Nothing was changed.
class RangeError : public std::out_of_range {
  using std::out_of_range::out_of_range;
};

/// An argument is of the wrong type, or is absent although a value is needed.
class InvalidArgument : public std::invalid_argument {
  using std::invalid_argument::invalid_argument;
};

/// An object has no value under a key, or no value that can be set.
class UndefinedKey : public std::invalid_argument {
  using std::invalid_argument::invalid_argument;
};

/// A notice reached an observer that never registered with its context.
class UnexpectedNotice : public std::logic_error {
  using std::logic_error::logic_error;
};

}  // namespace vexil::platform
