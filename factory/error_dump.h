// The file that collects messages nobody could parse.
#pragma once

namespace parvane::factory {

// Makes its folder and tells the engine its name; without a home folder there is none. Called for
// every source, so that it follows the user's settings of that moment.
void PrepareErrorDump();

}  // namespace parvane::factory
