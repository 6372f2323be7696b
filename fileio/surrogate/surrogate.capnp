# What the program and the process of a group of plug-ins say to each other. Codes are HRESULTs, ids and records are their bytes,
# wide texts are UTF-16 as they lie in memory.
@0xc8b1f3a2d7e45f60;

using Cxx = import "/capnp/c++.capnp";
$Cxx.namespace("tarn::surrogate");

# An open file goes along with it.
interface Descriptor {}

interface Entry {
  # The process answers to its own class id alone.
  connect @0 (classId :Data) -> (code :Int32, plugins :Plugins);
}

interface Plugins {
  getInfo @0 (library :Text, langId :UInt32) -> (code :Int32, info :Data, reason :Text);
  createReader @1 (library :Text, classId :Data, langId :UInt32) -> (code :Int32, reader :ReadFileClass);
  createRenderer @2 (library :Text, classId :Data, langId :UInt32) -> (code :Int32, renderer :RenderFileClass);
}

interface ReadFileClass {
  recognize @0 (head :Data) -> (code :Int32);
  # With the first stream where that is of sound, since next to nobody asks for anything else.
  openFile @1 (file :Descriptor, path :Data) -> (code :Int32, opened :ReadFile, first :ReadStream, firstSound :SoundFormat);
}

interface ReadFile {
  getFormatName @0 () -> (code :Int32, text :Data);
  getStreamCount @1 () -> (code :Int32, count :UInt32);
  getStream @2 (index :UInt32, iid :Data) -> (code :Int32, stream :ReadStream);
  getMeta @3 (iid :Data) -> (code :Int32, meta :ReadMeta);
}

interface ReadMeta {
  read @0 (size :UInt32) -> (code :Int32, bytes :Data);
  seek @1 (position :UInt64) -> (code :Int32);
}

struct SoundFormat {
  format @0 :Data;
  # Frames that lie in the file as they are read, from that byte on; none where they do not.
  storedAt @1 :UInt64;
  storedFrames @2 :UInt64;
}

# Of any type; what a type does not have is refused.
interface ReadStream {
  getType @0 () -> (code :Int32, type :UInt32);
  getName @1 () -> (code :Int32, text :Data);
  getAudioFormat @2 () -> (code :Int32, sound :SoundFormat);
  getFrames @3 () -> (code :Int32, frames :UInt64);
  # Into the memory of the last share.
  readAudio @4 (frame :UInt64, frames :UInt32) -> (code :Int32, got :UInt32);
  getVideoFormat @5 () -> (code :Int32, format :Data);
  readPicture @6 (frame :UInt64, bytes :UInt32) -> (code :Int32);
  readText @7 (capacity :UInt32) -> (code :Int32, start :Int64, end :Int64, text :Data);
  share @8 (memory :Descriptor, token :Data) -> (code :Int32);
  # Lays pieces from that frame on into the memory of the last share as a ring, until it is full or the sound ends. Answered when
  # it is.
  readAhead @9 (frame :UInt64) -> (code :Int32);
  # Goes on where the ring was full.
  readOn @10 () -> (code :Int32);
}

interface RenderFileClass {
  getPreset @0 (index :UInt32) -> (code :Int32, settings :Data);
  getDefault @1 (extension :Data, source :Data) -> (code :Int32, settings :Data);
  checkTemplate @2 (settings :Data) -> (code :Int32);
  getExtensions @3 (settings :Data) -> (code :Int32, text :Data);
  createFile @4 (file :Descriptor, path :Data, settings :Data, format :Data) -> (code :Int32, made :RenderFile);
  # Records, one behind the other.
  getFields @5 (settings :Data) -> (code :Int32, fields :Data);
  setField @6 (settings :Data, field :UInt32, value :UInt32) -> (code :Int32, changed :Data);
}

interface RenderFile {
  write @0 (samples :Data, frames :UInt32) -> (code :Int32);
  setMeta @1 (chunks :Data) -> (code :Int32);
  end @2 () -> (code :Int32);
}
