#pragma once

// The fixed parts of the replay page: styles and controls, and the player
// script that reads the JSON element with id "recording".
namespace KorvanDemo {

// From the doctype to the open head (the writer adds the title).
const char* playerPageHead();
// Closes the head and lays out the canvas and the controls.
const char* playerPageBody();
// The drawing helpers (KorvanStage) the player uses, shared with the browser
// sandbox's page; generated from StagePainter.js. They open the player's
// script element.
const char* stagePainterScript();
// The rest of the player script, its closing tag and the end of the page.
const char* playerPageScript();

}  // namespace KorvanDemo
