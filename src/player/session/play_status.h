#pragma once

#include <QString>

enum class PlayState {
    Idle,    // nothing was opened yet
    Opening, // its addresses are asked for
    Loading, // libmpv was given one, and no picture is there yet
    Playing, // or paused
    Ended,   // it came to its end
    Failed,  // it cannot be played, or not any further
};

struct OpenedVideo;

// What there is to be shown of what plays, or of what is being opened. Seconds are whole.
struct PlayStatus
{
    PlayState state = PlayState::Idle; // of the video that was chosen last
    QString chosenId;                  // its file's id
    QString title;     // the name of what libmpv has, or is to have first; empty before that
    QString titledId;  // the id of the file that has this name
    QString thumbnail; // the address of its picture; empty: none is known
    // A picture was there, and the video goes on, or the one that follows it is being opened.
    bool isUnderWay = false;
    int position = 0; // 0 while another video is being opened
    int duration = 0;
    // Why nothing plays, or that an answer is long in coming; empty while something plays or will.
    QString notice;
    // The drive refused the video's streams, and PlaySession::playSource() may still play it.
    bool offersSource = false;
};

// `current` plays, or played last; `candidate` is being opened. Either may be null.
PlayStatus statusOf(const OpenedVideo *current, const OpenedVideo *candidate);
