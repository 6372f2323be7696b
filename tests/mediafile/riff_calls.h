// Included within a class that defines FORWARD(NAME): one member for each function that both families have.
// clang-format off
#ifdef FORWARD
FORWARD(ReadData) FORWARD(ReadDataBounded) FORWARD(ReadDataAlloc) FORWARD(SetRIFFSize) FORWARD(GetFileSize)
FORWARD(UpdateRIFFSize) FORWARD(WriteChunk) FORWARD(WriteListHeader) FORWARD(WriteFileID) FORWARD(ReadChunkHeader)
FORWARD(ReadListHeader) FORWARD(ReadFileID) FORWARD(SeekDataStart) FORWARD(FindChunkHeader)
FORWARD(FindChunkHeaderInRIFF) FORWARD(FindListChunkFromStart) FORWARD(GetNumListEntries) FORWARD(SeekListEntry)
FORWARD(DeleteChunk) FORWARD(WriteANSIString) FORWARD(ReadANSIString)
#endif
