// Streams: files read piece by piece.
#pragma once

class V_FileStream;
class V_UnbufferedFileStream;
