#pragma once

#include <functional>
#include <string>

namespace localdrive {

// Makes the sample library in a folder (created when absent) with ffmpeg: a drive for each of
// three accounts below "drives/", streams and thumbnails below "media/". What is there already is
// kept, so that it may be interrupted and called again; once it is complete, nothing is touched,
// also not what a user deleted since. Two at a time wait for each other.
//
// Every second of every clip can be told from the picture: besides the name and the running time
// in large digits it shows the whole second as a row of twelve cells, the highest bit first,
// white for 1 and black for 0. The cells lie from 2/16 to 14/16 of the width, each 1/16 wide, and
// from 13/16 to 14/16 of the height. The first ten seconds of an episode are tinted blue and
// marked "片头", the last ten red and marked "片尾".
//
// Calls progress with a line for each step. Throws std::runtime_error when something cannot be
// made.
void makeSampleLibrary(const std::string &folder,
                       const std::function<void(const std::string &)> &progress);

} // namespace localdrive
