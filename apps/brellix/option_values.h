#pragma once

/// \file
/// What the values of options may be.

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace brellix::app {

/// The most that an option which counts something takes.
constexpr std::size_t kMostCounted = 999'999'999;

/// For `CLI::Option::transform`: digits that say a number from `low` to `high`. The parsing library itself
/// wraps negative numbers around and reads "010" as eight.
CLI::Validator wholeNumber(std::size_t low, std::size_t high = kMostCounted);

/// For `CLI::Option::check`: a number from 0 to 1. The parsing library's own range takes "nan".
CLI::Validator numberFrom0To1();

/// For `CLI::Option::check`: a number that a float can hold.
CLI::Validator finiteNumber();

/// Lets `command` refuse an empty value of whatever it takes: an unset variable of a script would pass for an
/// option that is not given.
void refuseEmptyValues(CLI::App& command);

/// Throws `Failure` for an argument "--name=", for which the parsing library takes the next argument.
void refuseEmptyAssignments(const std::vector<std::string>& arguments);

}  // namespace brellix::app
