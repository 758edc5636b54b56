#pragma once

// The fixed parts of the replay page: styles and controls, and the player
// script that reads the JSON element with id "recording".
namespace KorvanDemo {

// From the doctype to the open head (the writer adds the title).
const char* playerPageHead();
// Closes the head and lays out the canvas and the controls.
const char* playerPageBody();
// The player script and the end of the page.
const char* playerPageScript();

}  // namespace KorvanDemo
