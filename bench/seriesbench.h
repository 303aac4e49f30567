#pragma once

// Runs the series figures: the occurrences of frequent and rare rules in a week
// and a month shown a year after their start, and their next reminder; the exit code.
int runSeriesBench();
