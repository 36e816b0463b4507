#pragma once

// Who goes first among the requests of a user whom the server holds back as too fast.
enum class RequestTurn {
    Now,   // the user waits for it
    Soon,  // goes with what the user waits for, as the subtitle with its video
    Ahead, // nobody waits for it yet
};
