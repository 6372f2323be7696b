// Everything that the plug-in and its host agree on: interfaces with their slots in order, records byte by
// byte, ids, masks and bits. A host needs this header and no other of the plug-in.
//
// Results are HRESULTs: negative drops the single operation, 1 means "no such object" or "not handled". Texts
// that the host hands over are CoTaskMem blocks which the plug-in frees. The host's interfaces are
// free-threaded; the plug-in's sinks may be called on any thread of the host. Records are little-endian.
//
// The host's side of the life of a plug-in: CreateOPTObject, IMPInitialise::Initialise with INITFLAG_CONTROL,
// OnControl "project" (open), OnControl "activate", any notifications, pages through CreateOPTPropertyPage
// and SetObjects, OnControl deactivate and close, Terminate, the final Release.
#pragma once

#include "platform/ole.h"

// ---------------------------------------------------------------------------------------------------------------
// Ids of interfaces

// The plug-in's side.
inline constexpr GUID IID_IMPInitialise = tarn::Guid("{0958ECA1-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IQmTranslationInfo = tarn::Guid("{9E43494C-2217-425F-B36A-762C9D4EE58A}");
inline constexpr GUID IID_IMPNotificationSink = tarn::Guid("{0958ECAB-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IMPTimeSink = tarn::Guid("{0958ECA6-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IMPCtrlChannelSink = tarn::Guid("{E56E4CEB-A949-4B33-8134-0B3D47CAB224}");
inline constexpr GUID IID_IMPEventFilter = tarn::Guid("{0958ECA3-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IMPControlSurfaceDriver = tarn::Guid("{9B62C4EA-B633-46F4-A229-4DA1A309FE63}");

// The host's side. IConnectionPointContainer and IMPCtrlChannels are required, IMPPlugInCatalog is optional.
inline constexpr GUID IID_IMPProjectTree = tarn::Guid("{0958ECA8-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IMPPropertyStore = tarn::Guid("{0958ECAA-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IMPTimeConverter = tarn::Guid("{0958ECA2-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IMPPortList = tarn::Guid("{0958ECA9-6709-4267-9696-33D56FEC4F6A}");
inline constexpr GUID IID_IMPCtrlChannels = tarn::Guid("{A9040FD5-E64D-46EE-8778-9D7A99E35D9F}");
inline constexpr GUID IID_IMPPlugInCatalog = tarn::Guid("{91B8A1BA-6E7C-4AD6-8EEA-409C25A49AF7}");
inline constexpr GUID IID_IMPEventOutput =
    tarn::Guid("{3E5B7A52-6C0F-4B6E-9D0B-54A6E1C7F2D8}");  ///< optional

// What the modules make.
inline constexpr GUID CLSID_SurfacePlugin = tarn::Guid("{7B0E1D1C-6A2B-4C0E-8E1B-2F6D7B0C9A41}");
inline constexpr GUID CLSID_SurfacePage = tarn::Guid("{C5D2A0B4-3F7E-4B59-9C66-1E8A4D3B7F02}");
inline constexpr GUID CLSID_ConsolePlugin = tarn::Guid("{D1565167-CF92-491B-B6D4-D97A746A5A3C}");
inline constexpr GUID CLSID_ConsoleCfgPage = tarn::Guid("{6D4F62A1-DD63-4B72-A57F-97BB07C65276}");
inline constexpr GUID CLSID_ConsolePage = tarn::Guid("{1F8F3445-DAC3-4F65-9AB2-5907A9B90E07}");
inline constexpr GUID CLSID_ConsoleMixerPage = tarn::Guid("{9A55B70C-2FF6-43C0-9BE5-7EB9209BDA9D}");

inline constexpr uint32_t OPTOBJECT_INFO_FLAGS = 0x30010;

// ---------------------------------------------------------------------------------------------------------------
// Ids of notifications (MPNOTIFYREC) and controls (MPCTRLREC)

inline constexpr GUID MPNOTIFY_OBJECT = tarn::Guid("{9DD48DE0-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_PROJECT_RELOAD = tarn::Guid("{9DD48DE1-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_E3 = tarn::Guid("{9DD48DE3-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_E4 = tarn::Guid("{9DD48DE4-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_E5 = tarn::Guid("{9DD48DE5-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_PORTS = tarn::Guid("{9DD48DE6-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_E7 = tarn::Guid("{9DD48DE7-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_E8 = tarn::Guid("{9DD48DE8-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_DISPLAY = tarn::Guid("{9DD48DE9-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_EA = tarn::Guid("{9DD48DEA-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_EB = tarn::Guid("{9DD48DEB-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_EC = tarn::Guid("{9DD48DEC-9F3F-4E80-BCB5-4482A5B5240A}");
inline constexpr GUID MPNOTIFY_EE = tarn::Guid("{9DD48DEE-9F3F-4E80-BCB5-4482A5B5240A}");

inline constexpr GUID MPCTRL_ACTIVATE =
    tarn::Guid("{C4237101-5EBD-47EA-B820-CBF3EB2BFB02}");  ///< flags bit 0: on
inline constexpr GUID MPCTRL_PROJECT =
    tarn::Guid("{F7C25659-D15C-41B0-8B32-570A2A2490B0}");  ///< flags bit 1: open
inline constexpr GUID MPCTRL_CHANNEL =
    tarn::Guid("{A73ECD19-2435-46CF-85C1-CF73E2B14607}");  ///< a channel changed
inline constexpr GUID MPCTRL_MAP =
    tarn::Guid("{6C221A8D-E758-4202-AFEE-12E3705D8C69}");  ///< to the map, no data
inline constexpr GUID MPCTRL_DISPLAY =
    tarn::Guid("{2B4739CF-847B-4003-A081-FF54C0AED967}");  ///< MPPROP_DISPLAY changed
inline constexpr GUID MPCTRL_LOOK =
    tarn::Guid("{9810AD2D-048F-40D6-BCF7-82A92049DF5B}");  ///< kindMask 7: rebuild; 16: colours
inline constexpr GUID MPCTRL_TRANSPORT =
    tarn::Guid("{817FE573-8986-4B83-91E7-6841BFB0D6AC}");  ///< MPPROP_TRANSPORT changed
inline constexpr GUID MPCTRL_BLOCK =
    tarn::Guid("{BC611924-3D4D-463B-BFDE-D73E86BFE5AD}");  ///< MPPROP_BLOCK changed
inline constexpr GUID MPCTRL_JOG =
    tarn::Guid("{DA8C0DC5-6572-4137-8BA5-EB193F3F48ED}");  ///< MPPROP_JOG changed
inline constexpr GUID MPCTRL_METERS =
    tarn::Guid("{BD5843D9-D7AD-4093-9B70-3EDFA0E5E195}");  ///< new meter values
inline constexpr GUID MPCTRL_SUSPEND =
    tarn::Guid("{48431309-153E-4C38-98BB-25BACAAB0F6E}");  ///< flags bit 0: suspend display work
inline constexpr GUID MPCTRL_BUSY =
    tarn::Guid("{645B4740-EEDD-488A-A252-ADF4E215A073}");  ///< flags bits 0, 1: page state
inline constexpr GUID MPCTRL_NONE = tarn::Guid("{8B87C4F0-1BEC-4803-87AC-36E75AD6D278}");  ///< no action

// ---------------------------------------------------------------------------------------------------------------
// Ids of properties and the sizes of their records

inline constexpr GUID MPPROP_TRANSPORT =
    tarn::Guid("{9DD48DD7-9F3F-4E80-BCB5-4482A5B5240A}");  ///< 4, TRANSPORT_ bits
inline constexpr GUID MPPROP_RANGE =
    tarn::Guid("{9DD48DD5-9F3F-4E80-BCB5-4482A5B5240A}");  ///< 24, MPTIMERANGE
inline constexpr GUID MPPROP_TIME16 = tarn::Guid("{9DD48DD6-9F3F-4E80-BCB5-4482A5B5240A}");  ///< 16, MPTIME
inline constexpr GUID MPPROP_TIME12 =
    tarn::Guid("{9DD48DD1-9F3F-4E80-BCB5-4482A5B5240A}");  ///< 12, a time with format
inline constexpr GUID MPPROP_CHANNEL_MODE =
    tarn::Guid("{B397A098-47B9-460A-BB5F-4AD8A2BBCD7F}");  ///< 4; 1 is surround
inline constexpr GUID MPPROP_CHANNEL_MODE_EX = tarn::Guid("{94BB6707-BEB3-4070-BD8F-31F24BA82338}");  ///< 12
inline constexpr GUID MPPROP_TOOLBAR = tarn::Guid("{C56B3756-E654-49C9-8891-3016ABE801E0}");          ///< 12
inline constexpr GUID MPPROP_COMMANDS =
    tarn::Guid("{9E987136-B74F-4208-9B2A-1E154F1E29FC}");  ///< 72, MPCOMMANDREG
inline constexpr GUID MPPROP_DISPLAY = tarn::Guid("{95E55783-99B2-4748-8598-ACB51B00467F}");  ///< 32
inline constexpr GUID MPPROP_AUDIO_FORMAT =
    tarn::Guid("{B025F079-C14D-4FDF-95E9-DFC59EEE3974}");  ///< 76, MPAUDIOFORMAT
inline constexpr GUID MPPROP_PREFERENCE =
    tarn::Guid("{20BDE4A3-FE53-428E-9A2E-D71BB0EA4C83}");  ///< 56, MPPREFREC
inline constexpr GUID MPPROP_PROJECT_INFO =
    tarn::Guid("{2EFDEB4F-D6E4-48A9-8646-EC5DFD253213}");  ///< 56, size first
inline constexpr GUID MPPROP_AUTOMATION = tarn::Guid("{D5C5607D-F2F8-4894-B5BD-53C26B6F8951}");  ///< 8
inline constexpr GUID MPPROP_JOG = tarn::Guid("{946E6C4A-3B72-412D-90D9-0F8071700BA0}");  ///< 104, MPJOG
inline constexpr GUID MPPROP_SHUTTLE =
    tarn::Guid("{D417EA4B-2EEB-4B10-A486-4027991941E8}");  ///< 24, MPSHUTTLE
inline constexpr GUID MPPROP_BLOCK =
    tarn::Guid("{C398314E-D0B4-4FA8-8F42-1BD17FF4D2D3}");  ///< 32, MPPROJECTBLOCK
inline constexpr GUID MPPROP_HOST_KIND =
    tarn::Guid("{F0EB4892-4965-4407-809E-3A29D3751823}");  ///< 4; 1 is the full editor
inline constexpr GUID MPPROP_HOST_FEATURES =
    tarn::Guid("{5507CCFE-32BE-4E0C-B98F-F20BF948F87C}");  ///< 12, MPHOSTFEATURES
inline constexpr GUID MPPROP_PAGE_START = tarn::Guid("{033336BA-E836-4E96-8EB5-8E0EBA0D9612}");  ///< varies
inline constexpr GUID MPPROP_PORTS_END =
    tarn::Guid("{6BE89E31-4E12-4E7F-B88E-B2914C5AC37B}");  ///< 32, MPPORTREQUEST
inline constexpr GUID MPPROP_PORTS_BEGIN =
    tarn::Guid("{FCC31668-7C9B-4318-899E-CA0524D57A6A}");  ///< 32, MPPORTREQUEST

inline constexpr uint32_t MPPROP_TABLE = 0xFFFFFFFF;  ///< property index of a whole table

/// Transport property: meters are refreshed while any of the low four bits is set.
inline constexpr uint32_t TRANSPORT_PLAYING = 0x1;
inline constexpr uint32_t TRANSPORT_RUNNING_MASK = 0xF;
inline constexpr uint32_t TRANSPORT_LOOP = 0x10;  ///< set and cleared with the range

// ---------------------------------------------------------------------------------------------------------------
// Bits

inline constexpr uint32_t INITFLAG_CONTROL = 0x1;  ///< Initialise: the host serves control plug-ins

/// MPCHANNELREC::kind
inline constexpr uint32_t KIND_AUDIO_TRACK = 0x1;
inline constexpr uint32_t KIND_BUS = 0x2;
inline constexpr uint32_t KIND_FAMILY_4 = 0x4;
inline constexpr uint32_t KIND_MIDI_TRACK = 0x8;
inline constexpr uint32_t KIND_FAMILY_10 = 0x10;
inline constexpr uint32_t KIND_FAMILY_20 = 0x20;
inline constexpr uint32_t KIND_FAMILY_40 = 0x40;
inline constexpr uint32_t KIND_FAMILY_80 = 0x80;
inline constexpr uint32_t KIND_MASTER_BIT = 0x100;
inline constexpr uint32_t KIND_AUDIO_BUS_BIT = 0x200;
inline constexpr uint32_t KIND_FX_BIT = 0x400;
inline constexpr uint32_t KIND_SYNTH_BIT = 0x800;
inline constexpr uint32_t KIND_INPUT_BIT = 0x1000;
inline constexpr uint32_t KIND_SPECIAL = 0x2000;  ///< order index -1 main output, -2 preview output
inline constexpr uint32_t KIND_RESTRICTED = 0x4000;
inline constexpr uint32_t KIND_SURROUND = 0x8000;
inline constexpr uint32_t KIND_NO_STRIP = 0x80000;
inline constexpr uint32_t KIND_MASTER = KIND_BUS | KIND_MASTER_BIT;
inline constexpr uint32_t KIND_AUDIO_BUS = KIND_BUS | KIND_AUDIO_BUS_BIT;
inline constexpr uint32_t KIND_FX = KIND_BUS | KIND_FX_BIT;
inline constexpr uint32_t KIND_SYNTH = KIND_BUS | KIND_SYNTH_BIT;
inline constexpr uint32_t KIND_INPUT_BUS = KIND_BUS | KIND_INPUT_BIT;
inline constexpr uint32_t KIND_OUTPUT_ENTRY = KIND_BUS | KIND_SPECIAL | KIND_INPUT_BIT;  ///< hardware output
inline constexpr uint32_t KIND_MIDI_PORT_ENTRY = KIND_MIDI_TRACK | KIND_INPUT_BIT;
inline constexpr uint32_t KIND_SURROUND_MASTER = KIND_MASTER | KIND_SURROUND;
inline constexpr uint32_t KIND_GROUP_HEAD_MASK = KIND_NO_STRIP | KIND_SURROUND | KIND_MASTER_BIT;
inline constexpr uint32_t ENUM_TRACKS = KIND_AUDIO_TRACK | KIND_MIDI_TRACK | KIND_FAMILY_40;
inline constexpr uint32_t ENUM_BUSSES =
    KIND_BUS | KIND_FAMILY_4 | KIND_FAMILY_10 | KIND_FAMILY_20 | KIND_FAMILY_80 | KIND_SPECIAL;
static_assert(ENUM_TRACKS == 73 && ENUM_BUSSES == 0x20B6);

inline constexpr int32_t ORDER_MAIN_OUTPUT = -1;     ///< with KIND_SPECIAL
inline constexpr int32_t ORDER_PREVIEW_OUTPUT = -2;  ///< with KIND_SPECIAL
inline constexpr int32_t ORDER_APPEND = -1;          ///< in Insert

/// MPCHANNELREC::switches
inline constexpr uint32_t SWITCH_MUTE = 0x1;
inline constexpr uint32_t SWITCH_SOLO = 0x2;
inline constexpr uint32_t SWITCH_MONITOR = 0x4;
inline constexpr uint32_t SWITCH_SELECTED = 0x10;
inline constexpr uint32_t SWITCH_PHASE = 0x20;
inline constexpr uint32_t SWITCH_HIDDEN = 0x40;
inline constexpr uint32_t SWITCH_STRIP_80 = 0x80;  ///< goes on sounding when others are soloed
inline constexpr uint32_t SWITCH_ARM = 0x100;
inline constexpr uint32_t SWITCH_SEND = 0x8000;  ///< level 2: a send, which has no parameters; else an effect
inline constexpr uint32_t SWITCH_STRIP_10000 = 0x10000;  ///< all effects of the chain are bypassed
inline constexpr uint32_t SWITCH_STRIP_40000 = 0x40000;
inline constexpr uint32_t SWITCH_SURFACE = 0x20000000;        ///< written alone by a surface function
inline constexpr uint32_t SWITCH_METER_REQUEST = 0x40000000;  ///< input of a MASK_METERS get

/// MPCHANNELREC::automation
inline constexpr uint32_t AUTOMATION_MODES = 0x1F;  ///< none of them: off
inline constexpr uint32_t AUTOMATION_READ = 0x1, AUTOMATION_TOUCH_MODE = 0x4, AUTOMATION_LATCH = 0x8,
                          AUTOMATION_WRITE = 0x10;
inline constexpr uint32_t AUTOMATION_TOUCH = 0x80000000;

/// MPCHANNELREC::selector
inline constexpr uint32_t SELECT_LONG_NAME = 1;
inline constexpr uint32_t SELECT_SHORT_NAME = 2;
inline constexpr uint32_t SELECT_METER_PEAK = 0;
inline constexpr uint32_t SELECT_METER_VU = 1;
inline constexpr uint32_t SELECT_METER_SCOPE = 2;        ///< the samples that came since the last such get
inline constexpr uint32_t SELECT_CONSOLE_WRITE = 32768;  ///< the console marks its own sets with it

/// MPCHANNELREC::pairSelector, speaker bits
inline constexpr uint32_t SPEAKER_LEFT = 1;
inline constexpr uint32_t SPEAKER_RIGHT = 2;
inline constexpr uint32_t SPEAKER_FRONT = 3;
inline constexpr uint32_t SPEAKER_CENTER = 4;
inline constexpr uint32_t SPEAKER_LFE = 8;
inline constexpr uint32_t SPEAKER_REAR_LEFT = 16;
inline constexpr uint32_t SPEAKER_REAR_RIGHT = 32;
inline constexpr uint32_t SPEAKER_REAR = 48;
inline constexpr uint32_t SPEAKER_LEFT_HAND = 29;   ///< ANDed with a group's mask: its left-hand value
inline constexpr uint32_t SPEAKER_RIGHT_HAND = 34;  ///< and its right-hand value

/// MPCHANNELREC::sendSwitches and sendSelector. The selector tells which of a surface's controls speaks; the
/// level is the same for both.
inline constexpr uint32_t SENDSWITCH_PRE = 0x1;        ///< taken before the channel's fader
inline constexpr uint32_t SENDSWITCH_LINK_PAN = 0x2;   ///< follows the channel's pan
inline constexpr uint32_t SENDSWITCH_10000 = 0x10000;  ///< muted
inline constexpr uint32_t SENDSELECT_MAIN = 1, SENDSELECT_PAN = 8;

/// MPCHANNELREC::effectState; on level 1, of the whole chain, EFFECT_BYPASSED alone.
inline constexpr uint32_t EFFECT_BYPASSED = 0x1;
inline constexpr uint32_t EFFECT_POST_FADER = 0x2;
inline constexpr uint32_t EFFECT_INSTRUMENT =
    0x4;  ///< get only: makes the sound, and has no place in the chain
inline constexpr uint32_t EFFECT_MISSING =
    0x8;  ///< get only: it can't be had, and what it should work on passes
inline constexpr uint32_t EFFECT_EDITOR = 0x10;  ///< its window: a set with it opens or raises it

/// MPCHANNELREC::effectParam with MASK_PARAM_NAME: the index is a preset's; a set loads it.
inline constexpr uint32_t EFFECTPARAM_PRESET = 0x80000000;

/// MPCHANNELREC::panModel: the command that a menu has for the model, counted from 1; 0 in a set leaves it.
inline constexpr uint32_t PANMODEL_ADD = 1, PANMODEL_BALANCE_0 = 2, PANMODEL_BALANCE_3 = 3,
                          PANMODEL_BALANCE_6 = 4, PANMODEL_CONSTANT_POWER = 5, PANMODEL_FILM = 6;

/// Masks of IMPCtrlChannels::Get and Set: the groups of fields asked or supplied.
inline constexpr uint32_t MASK_ALL = 0;  ///< get only
inline constexpr uint32_t MASK_SWITCHES = 0x1;
inline constexpr uint32_t MASK_AUTOMATION = 0x2;  ///< with a value bit: the value's touch bit
/// Kind, order, count class, pair selector, look words. A set moves the channel to its order index.
inline constexpr uint32_t MASK_IDENTITY = 0x4;
inline constexpr uint32_t MASK_VOLUME = 0x8;
inline constexpr uint32_t MASK_PAN = 0x10;
inline constexpr uint32_t MASK_SEND = 0x20;
inline constexpr uint32_t MASK_INSERT = 0x40;
inline constexpr uint32_t MASK_AUX = 0x80;
inline constexpr uint32_t MASK_INPUT_ROUTE = 0x100;
inline constexpr uint32_t MASK_OUTPUT_ROUTE = 0x200;
inline constexpr uint32_t MASK_METERS = 0x400;       ///< get only
inline constexpr uint32_t MASK_INPUT_SIDE = 0x800;   ///< added: the FX input fader and pan
inline constexpr uint32_t MASK_PORT_ENTRY = 0x1000;  ///< added: the object is an I/O port entry
inline constexpr uint32_t MASK_TARGET = 0x2000;      ///< added in sets: the switch word, or a route's target
inline constexpr uint32_t MASK_NAME = 0x4000;
inline constexpr uint32_t MASK_FIXED = 0x8000;             ///< level 2: fixed data only
inline constexpr uint32_t MASK_CHAIN = 0x10000;            ///< get chain data; set inserts an effect
inline constexpr uint32_t MASK_EFFECT_STATE = 0x20000;     ///< level 2
inline constexpr uint32_t MASK_EFFECT_POSITION = 0x40000;  ///< level 2
inline constexpr uint32_t MASK_LONG_NAME = 0x100000;
inline constexpr uint32_t MASK_SHORT_NAME = 0x200000;
inline constexpr uint32_t MASK_PARAM_NAME = 0x400000;  ///< level 2

/// MPNOTIFYREC::flags and MPCTRLREC::flags
inline constexpr uint32_t CHANGE_ATTRIBUTES = 0x10000;
inline constexpr uint32_t CHANGE_ADDED = 0x20000;
inline constexpr uint32_t CHANGE_REMOVED = 0x40000;
inline constexpr uint32_t CHANGE_MOVED = 0x80000;           ///< notifications
inline constexpr uint32_t CHANGE_REPLACED = 0x100000;       ///< notifications
inline constexpr uint32_t CHANGE_CTRL_REPLACED = 0x200000;  ///< controls
inline constexpr uint32_t NOTIFY_URGENT = 0x80000000;
inline constexpr uint32_t ACTIVATE_ON = 0x1;
inline constexpr uint32_t PROJECT_OPEN = 0x2;
inline constexpr uint32_t BUSY_ON = 0x1, BUSY_TELLS = 0x3;  ///< with none of them nothing is told
inline constexpr uint32_t SUSPEND_ON = 0x1;
inline constexpr uint32_t SUSPEND_REFRESH = 0x30;

/// MPHOSTFEATURES::features
inline constexpr uint32_t FEATURE_INPUT_BUSSES = 2;
inline constexpr uint32_t FEATURE_MIDI_TRACKS = 4;
inline constexpr uint32_t FEATURE_SYNTHS = 8;
inline constexpr uint32_t FEATURE_REORDER = 32;

/// Levels of project tree and channel paths.
inline constexpr uint32_t LEVEL_TRACK = 1, LEVEL_EVENT = 2, LEVEL_TAKE = 3;
inline constexpr uint32_t LEVEL_CHANNEL = 1, LEVEL_SUB_OBJECT = 2, LEVEL_PARAMETER = 3;

inline constexpr uint32_t TREE_ALL = 0;
inline constexpr uint32_t TREE_FIXED = 2;
inline constexpr uint32_t TREE_FIXED_UNLOCKED = 0x10000002;
inline constexpr uint32_t TREE_NOTIFY_RESEND = 2;

inline constexpr uint32_t TIMEFORMAT_NANO = 2;  ///< nano positions, counts of 100 ns

inline constexpr uint32_t PORTS_INPUT = 0, PORTS_OUTPUT = 1;
inline constexpr uint32_t PORTMODE_INPUT = 1, PORTMODE_OUTPUT = 5;

inline constexpr uint32_t CATALOG_NAMES = 0x80000000;

/// Event types, MPEVENTREC::type
inline constexpr uint32_t MPNULL = 0x1;
inline constexpr uint32_t MPNRPN = 0x2;
inline constexpr uint32_t MPRPN = 0x4;
inline constexpr uint32_t MPPATCH = 0x8;
inline constexpr uint32_t MPSEQSHORT = 0x10;
inline constexpr uint32_t MPNOTE_OFF = 0x20;
inline constexpr uint32_t MPNOTE_ON = 0x40;
inline constexpr uint32_t MPPOLY_AFTER = 0x80;
inline constexpr uint32_t MPCNTRL_CHNG = 0x100;
inline constexpr uint32_t MPPROG_CHNG = 0x200;
inline constexpr uint32_t MPAFTER_TOUCH = 0x400;
inline constexpr uint32_t MPPITCH_BEND = 0x800;
inline constexpr uint32_t MPSYS_EX1 = 0x10000;
inline constexpr uint32_t MPSYS_EX2 = 0x20000;
inline constexpr uint32_t MPOWNED_DATA_TYPES = 0x1F0000;  ///< types whose long data is CoTaskMem

// ---------------------------------------------------------------------------------------------------------------
// Records

#define MP_OFFSET(record, field, at) static_assert(offsetof(record, field) == (at))

/// Path of a host object: channel, sub-object (send, effect), parameter; 0 where absent. The ids are the
/// host's own.
struct MPCHANNELID {
    uint64_t channel;
    uint64_t sub;
    uint64_t subSub;

    friend constexpr bool operator==(const MPCHANNELID&, const MPCHANNELID&) = default;
};
static_assert(sizeof(MPCHANNELID) == 24);

/// A row of the plug-in's reference lists, and the position that an enumeration stands at.
struct MPCHANNELREF {
    uint64_t channel;
    void* subList;  ///< the plug-in's; hosts leave it alone
    uint64_t sub;
    void* subSubList;
};
static_assert(sizeof(MPCHANNELREF) == 32);

inline constexpr uint32_t SCOPE_PAIRS = 512;

struct MPMETERLEVEL {
    uint32_t reserved;
    float level;  ///< linear, 1.0 is full scale
};

/// One channel, effect or parameter. The caller zeroes it, sets the input fields, and names groups by a mask.
struct MPCHANNELREC {
    uint32_t kind;        ///< KIND_, MASK_IDENTITY
    uint32_t switches;    ///< SWITCH_, MASK_SWITCHES
    uint32_t automation;  ///< mode bits and AUTOMATION_TOUCH
    uint32_t reserved12[3];
    uint32_t selector;  ///< input, SELECT_
    int32_t order;
    float volume;  ///< gain, MASK_VOLUME
    uint32_t reserved36;
    uint32_t countClass;    ///< output channel count class, 1 is ordinary
    uint32_t pairSelector;  ///< SPEAKER_; on input chooses which pan, volume or level is meant
    int32_t inputIndex;     ///< MASK_INPUT_ROUTE: MIDI channel that is listened to, 0 all
    int32_t outputIndex;    ///< MASK_OUTPUT_ROUTE: MIDI channel that is sent to, 0 as it comes
    float aux;              ///< gain of the FX input fader, MASK_AUX
    float insertLevel;      ///< gain into the inserts, MASK_INSERT
    float linkedVolume;     ///< gain of the other half of a pair, MASK_VOLUME
    uint32_t reserved68[3];
    uint32_t effectState;  ///< level 2, MASK_EFFECT_STATE
    uint32_t effectParam;  ///< level 2: parameter count, or with MASK_PARAM_NAME the index asked
    char16_t* paramName;   ///< level 2, MASK_PARAM_NAME
    uint32_t reserved96[6];
    /// MASK_PAN, -1 .. 1, by pairSelector: left to right; with SPEAKER_REAR rear to front, with
    /// SPEAKER_CENTER the stereo width from mono (-1) by as it is (0) to twice the difference (1).
    float pan;
    uint32_t panModel;         ///< PANMODEL_, MASK_PAN
    char16_t* effectLongName;  ///< level 2, MASK_LONG_NAME
    union {
        char16_t* effectShortName;  ///< level 2, MASK_SHORT_NAME
        MPMETERLEVEL meter;         ///< level 1, MASK_METERS
    };
    uint64_t
        effectTarget;  ///< level 2, MASK_EFFECT_POSITION: an effect's place in the chain, a send's target
    uint32_t reserved152[18];
    uint64_t inputTarget;  ///< channel id, MASK_INPUT_ROUTE
    uint32_t lookColour;   ///< MASK_IDENTITY: index into the host's track colours
    uint32_t reserved236;
    uint64_t outputTarget;  ///< channel id, MASK_OUTPUT_ROUTE
    uint32_t lookWidth;     ///< MASK_IDENTITY
    uint32_t lookFlags;     ///< MASK_IDENTITY
    uint32_t reserved256;
    uint32_t sendSwitches;  ///< SENDSWITCH_
    uint32_t sendSelector;  ///< SENDSELECT_
    uint32_t reserved268;
    uint64_t sendTarget;  ///< channel id, MASK_SEND
    float sendLevel;      ///< gain, MASK_SEND
    uint32_t scopePairs;  ///< MASK_METERS with SELECT_METER_SCOPE: how many pairs came
    float* scopeSamples;  ///< the caller's, room for SCOPE_PAIRS of left and right in turn
    uint32_t reserved296[18];
    char16_t* name;  ///< MASK_NAME, by `selector`
    uint32_t reserved376[4];
    GUID effectClass;  ///< class of the effect to insert
    uint32_t reserved408[4];
};
static_assert(sizeof(MPCHANNELREC) == 424);
MP_OFFSET(MPCHANNELREC, selector, 24);
MP_OFFSET(MPCHANNELREC, order, 28);
MP_OFFSET(MPCHANNELREC, volume, 32);
MP_OFFSET(MPCHANNELREC, countClass, 40);
MP_OFFSET(MPCHANNELREC, pairSelector, 44);
MP_OFFSET(MPCHANNELREC, inputIndex, 48);
MP_OFFSET(MPCHANNELREC, outputIndex, 52);
MP_OFFSET(MPCHANNELREC, aux, 56);
MP_OFFSET(MPCHANNELREC, insertLevel, 60);
MP_OFFSET(MPCHANNELREC, linkedVolume, 64);
MP_OFFSET(MPCHANNELREC, effectState, 80);
MP_OFFSET(MPCHANNELREC, effectParam, 84);
MP_OFFSET(MPCHANNELREC, paramName, 88);
MP_OFFSET(MPCHANNELREC, pan, 120);
MP_OFFSET(MPCHANNELREC, panModel, 124);
MP_OFFSET(MPCHANNELREC, effectLongName, 128);
MP_OFFSET(MPCHANNELREC, effectShortName, 136);
MP_OFFSET(MPCHANNELREC, meter.level, 140);
MP_OFFSET(MPCHANNELREC, effectTarget, 144);
MP_OFFSET(MPCHANNELREC, inputTarget, 224);
MP_OFFSET(MPCHANNELREC, lookColour, 232);
MP_OFFSET(MPCHANNELREC, outputTarget, 240);
MP_OFFSET(MPCHANNELREC, lookWidth, 248);
MP_OFFSET(MPCHANNELREC, lookFlags, 252);
MP_OFFSET(MPCHANNELREC, sendSwitches, 260);
MP_OFFSET(MPCHANNELREC, sendSelector, 264);
MP_OFFSET(MPCHANNELREC, sendTarget, 272);
MP_OFFSET(MPCHANNELREC, sendLevel, 280);
MP_OFFSET(MPCHANNELREC, scopePairs, 284);
MP_OFFSET(MPCHANNELREC, scopeSamples, 288);
MP_OFFSET(MPCHANNELREC, name, 368);
MP_OFFSET(MPCHANNELREC, effectClass, 392);

/// The head of a surround group keeps its four companions' ids in the bytes from offset 32 on.
inline MPCHANNELID MPCHANNELREC_Companion(const MPCHANNELREC& rec, int slot) {
    MPCHANNELID id;
    std::memcpy(&id, reinterpret_cast<const char*>(&rec) + 32 + slot * sizeof id, sizeof id);
    return id;
}

/// A notification. For MPNOTIFY_DISPLAY bit 0 of kindMask asks for a new layout.
struct MPNOTIFYREC {
    GUID id;
    uint32_t reserved16[5];
    uint32_t flags;     ///< CHANGE_, NOTIFY_URGENT
    uint32_t kindMask;  ///< KIND_
    uint32_t level;
    MPCHANNELID path;
    MPCHANNELID second;  ///< target or new place
};
static_assert(sizeof(MPNOTIFYREC) == 96);
MP_OFFSET(MPNOTIFYREC, flags, 36);
MP_OFFSET(MPNOTIFYREC, kindMask, 40);
MP_OFFSET(MPNOTIFYREC, level, 44);
MP_OFFSET(MPNOTIFYREC, path, 48);
MP_OFFSET(MPNOTIFYREC, second, 72);

struct MPCTRLREC {
    GUID id;
    uint32_t reserved16[5];
    uint32_t flags;     ///< CHANGE_, and the bits of each id
    uint32_t kindMask;  ///< KIND_; with CHANGE_ATTRIBUTES the MASK_ groups that changed
    uint32_t level;
    MPCHANNELID object;
    uint64_t reserved72;
    MPCHANNELID second;
    uint64_t reserved104[3];
};
static_assert(sizeof(MPCTRLREC) == 128);
MP_OFFSET(MPCTRLREC, flags, 36);
MP_OFFSET(MPCTRLREC, kindMask, 40);
MP_OFFSET(MPCTRLREC, level, 44);
MP_OFFSET(MPCTRLREC, object, 48);
MP_OFFSET(MPCTRLREC, second, 80);

inline constexpr uint32_t PREF_BINARY = 1, PREF_INT = 2, PREF_UINT = 3, PREF_STRING = 4;
inline constexpr uint32_t PREF_NAMED = 0xFFFFFFFF;  ///< numericKey when the key is a name

/// A preference of the plug-in that the host keeps. A get holds the default on entry; a missing key leaves
/// it.
struct MPPREFREC {
    uint32_t size;  ///< 56
    uint32_t type;  ///< PREF_
    uint32_t set;   ///< 1 in a set
    uint32_t reserved12;
    const char16_t* section;
    const char16_t* keyName;  ///< null when the key is numeric
    uint32_t numericKey;
    uint32_t reserved36;
    union {
        int64_t number;
        void* data;  ///< PREF_BINARY, PREF_STRING; a string got is CoTaskMem
    };
    uint32_t dataSize;  ///< PREF_BINARY
    uint32_t reserved52;
};
static_assert(sizeof(MPPREFREC) == 56);
MP_OFFSET(MPPREFREC, section, 16);
MP_OFFSET(MPPREFREC, keyName, 24);
MP_OFFSET(MPPREFREC, numericKey, 32);
MP_OFFSET(MPPREFREC, number, 40);
MP_OFFSET(MPPREFREC, dataSize, 48);

/// An event, and the record of a project tree object (`format` to `order` are used there alone).
struct MPEVENTREC {
    uint32_t type;    ///< MPNULL in an empty record
    uint32_t format;  ///< of start and offset
    int64_t start;
    int64_t offset;
    uint32_t channel;  ///< MIDI channel; 0xFFFFFFFF any
    uint32_t order;
    uint32_t reserved32[6];
    uint32_t dataSize;  ///< of `data`
    uint8_t byte1, byte2, byte3, byte4;
    void* data;  ///< CoTaskMem for MPOWNED_DATA_TYPES with dataSize above 0
    uint64_t reserved72;
};
static_assert(sizeof(MPEVENTREC) == 80);
MP_OFFSET(MPEVENTREC, channel, 24);
MP_OFFSET(MPEVENTREC, dataSize, 56);
MP_OFFSET(MPEVENTREC, byte1, 60);
MP_OFFSET(MPEVENTREC, data, 64);

struct MPTIME {
    int64_t time;
    uint32_t format;
    uint32_t reserved;
};
static_assert(sizeof(MPTIME) == 16);

struct MPTIMERANGE {
    int64_t start;
    int64_t end;
    uint32_t format;  ///< TIMEFORMAT_NANO
    uint32_t reserved;
};
static_assert(sizeof(MPTIMERANGE) == 24);

/// A get tells the position; a set moves to `position` + `step`, not before the start.
struct MPJOG {
    uint32_t size;    ///< 104
    uint32_t format;  ///< TIMEFORMAT_NANO
    int64_t position;
    int64_t step;  ///< 0 in a get
    uint32_t reserved[20];
};
static_assert(sizeof(MPJOG) == 104);

/// How fast the position is wound, silently: 1 is as fast as playing, below 0 backwards, 0 stands. What plays
/// stops for it, and playing ends it.
struct MPSHUTTLE {
    uint32_t size;  ///< 24
    uint32_t reserved[3];
    double speed;  ///< -SHUTTLE_FASTEST .. SHUTTLE_FASTEST
};
static_assert(sizeof(MPSHUTTLE) == 24);
inline constexpr double SHUTTLE_FASTEST = 64;

/// What is played: how long, and in which measure.
struct MPPROJECTBLOCK {
    uint32_t size;    ///< 32
    uint32_t format;  ///< TIMEFORMAT_NANO
    int64_t length;
    double tempo;  ///< quarter notes a minute; 0 where the project tells none
    uint32_t reserved[2];
};
static_assert(sizeof(MPPROJECTBLOCK) == 32);

struct MPCHANNELMODEEX {
    uint32_t words[3];
};
static_assert(sizeof(MPCHANNELMODEEX) == 12);

/// MPAUDIOFORMAT::monitoring and MPTOOLBAR::bits
inline constexpr uint32_t MONITORING_DIM = 1, MONITORING_DOWNMIX = 2;

/// How many channels of a kind there are, and how many there may be.
struct MPINSERTLIMIT {
    uint32_t count, limit;
};

/// The order of MPAUDIOFORMAT::inserts.
inline constexpr uint32_t INSERT_AUDIO_TRACK = 0, INSERT_MIDI_TRACK = 1, INSERT_AUDIO_BUS = 2, INSERT_FX = 3,
                          INSERT_SYNTH = 4, INSERT_INPUT_BUS = 5, INSERT_KINDS = 6;

struct MPAUDIOFORMAT {
    uint32_t size;        ///< 76
    uint32_t monitoring;  ///< MONITORING_
    uint32_t reserved8;
    uint32_t sampleRate;  ///< Hz
    uint32_t bitDepth;
    MPINSERTLIMIT inserts[INSERT_KINDS];
    uint32_t reserved68[2];
};
static_assert(sizeof(MPAUDIOFORMAT) == 76);
MP_OFFSET(MPAUDIOFORMAT, sampleRate, 12);
MP_OFFSET(MPAUDIOFORMAT, bitDepth, 16);

/// What the buttons above the strips show and do.
struct MPTOOLBAR {
    uint32_t size;  ///< 12
    uint32_t bits;  ///< MONITORING_
    uint32_t reserved;
};
static_assert(sizeof(MPTOOLBAR) == 12);

/// Capabilities in the order of modes: AUTOMATION_READ is 0x10000.
struct MPAUTOMATIONCAPS {
    uint32_t size;   ///< 8
    uint32_t modes;  ///< AUTOMATION_ shifted by 16
};
static_assert(sizeof(MPAUTOMATIONCAPS) == 8);

/// MPPROP_PAGE_START of this size: the host's track colours. 0 where the plug-in has room for none.
struct MPPALETTE {
    uint32_t size;   ///< 24
    uint32_t first;  ///< command of the first colour's menu entry
    uint32_t count;  ///< in: room in `colours`; out: how many there are
    uint32_t reserved;
    uint32_t* colours;  ///< the caller's, 0x00BBGGRR; null only asks for the count
};
static_assert(sizeof(MPPALETTE) == 24);
inline constexpr uint32_t PALETTE_FIRST = 32768;

struct MPCOLORBAND {
    int32_t threshold;  ///< tenths of a decibel: from here up
    uint32_t colour, background;
};

/// MPPROP_PAGE_START of this size: how meters look. 0xFFFFFFFF leaves a colour as it is.
struct MPMETERCOLORS {
    uint32_t size;  ///< 56
    uint32_t text, ground, frame;
    uint32_t peakBandCount, vuBandCount;
    MPCOLORBAND* peakBands;  ///< the caller's, room for METER_BANDS each, or null
    MPCOLORBAND* vuBands;
    uint32_t clip[2], scale[2];
};
static_assert(sizeof(MPMETERCOLORS) == 56);
inline constexpr uint32_t METER_BANDS = 10, COLOR_UNCHANGED = 0xFFFFFFFF;

/// Images of one size side by side, 0xAARRGGBB with the colours multiplied by alpha, from the top.
struct MPIMAGESTRIP {
    uint32_t size;           ///< 24
    uint32_t width, height;  ///< pixels of the whole strip
    uint32_t stride;         ///< pixels from a row to the next one
    const uint32_t* pixels;  ///< the host's, until the plug-in's next call
};
static_assert(sizeof(MPIMAGESTRIP) == 24);

/// MPPROP_PAGE_START of this size: a host's own images for a role. The strip is as high as its images, or an
/// integer multiple of that for screens with more pixels. Anything but S_OK leaves the plug-in its own.
struct MPIMAGES {
    uint32_t size;  ///< 40
    uint32_t role;  ///< IMAGEROLE_
    const MPIMAGESTRIP* normal;
    const MPIMAGESTRIP* hot;       ///< null: as the normal ones
    const MPIMAGESTRIP* disabled;  ///< null: the normal ones, pale
    uint32_t width, height;        ///< of one image
};
static_assert(sizeof(MPIMAGES) == 40);
inline constexpr uint32_t IMAGEROLE_COMMANDS = 1,  ///< 16 by 16
    IMAGEROLE_KINDS = 3,                           ///< 16 by 16: audio, bus, master, FX, synth, MIDI, input
    IMAGEROLE_FADER = 15,                          ///< thumb, 13 by 19
    IMAGEROLE_PAIR_FADER = 16,                     ///< thumb for two channels
    IMAGEROLE_PAN = 17, IMAGEROLE_SMALL_FADER = 19, IMAGEROLE_SEND = 20;

struct MPPROJECTINFO {
    uint32_t size;  ///< 56
    uint32_t words[13];
};
static_assert(sizeof(MPPROJECTINFO) == 56);

struct MPHOSTFEATURES {
    uint32_t limited;   ///< the host has no recording and no automation
    uint32_t features;  ///< FEATURE_
    uint32_t reserved;
};
static_assert(sizeof(MPHOSTFEATURES) == 12);

/// COMMANDS_RUN carries out the command that has the catalog's number in reply[0], as a person does it.
inline constexpr uint32_t COMMANDS_REGISTER = 1, COMMANDS_UNREGISTER = 2, COMMANDS_RUN = 3;

/// A command that the plug-in carries out. Texts are the plug-in's, and are copied.
struct MPCOMMAND {
    const char16_t* name;  ///< the same in every language: "MixingConsole.Show.Channels.All"
    const char16_t* text;  ///< what a person reads; may be null
    uint32_t command;
    uint32_t reserved;
};
static_assert(sizeof(MPCOMMAND) == 24);

/// A key that the plug-in would have for a command. The host may have others.
struct MPCOMMANDKEY {
    uint16_t key;        ///< virtual key
    uint16_t modifiers;  ///< Shift 2, Ctrl 4, Alt 8, 0x100 always
    uint32_t command;
};
static_assert(sizeof(MPCOMMANDKEY) == 8);

/// The host runs a command by IPropertyPage::TranslateAccelerator of the plug-in's page, with this message
/// and the command as wParam. What a page cannot do itself, the clipboard and the project's properties, it
/// asks of the host in the same way, by IPropertyPageSite::TranslateAccelerator.
inline constexpr uint32_t COMMAND_MESSAGE = 273;
/// The page tells its site what the command under the mouse does: wParam is the command, lParam its text, a
/// const char16_t* that is valid during the call; empty when there is none any more.
inline constexpr uint32_t STATUS_MESSAGE = 287;

struct MPCOMMANDREG {
    uint32_t size;    ///< 72
    uint32_t action;  ///< COMMANDS_
    const MPCOMMAND* commands;
    uint32_t commandCount;
    uint32_t reserved20;
    const char16_t* name;      ///< of the group that the commands are listed in
    const MPCOMMANDKEY* keys;  ///< may be null; in a get the caller's, to be filled with those in force
    uint32_t keyCount;         ///< in a get: room in `keys`
    /// What a get returns: commands and keys registered, keys given, 1 where those are the ones in force,
    /// zeros.
    uint32_t reply[6];
    uint32_t reserved68;
};
static_assert(sizeof(MPCOMMANDREG) == 72);

struct MPPORTREQUEST {
    uint32_t kind;  ///< PORTREQUEST_
    uint32_t reserved4;
    uint64_t port;
    uint32_t mode;
    uint32_t reserved20;
    const char16_t* pluginName;
};
static_assert(sizeof(MPPORTREQUEST) == 32);
inline constexpr uint32_t PORTREQUEST_OUTPUT = 0, PORTREQUEST_INPUT = 1;

struct MPPORT {
    uint64_t id;
    GUID guid;
    char16_t* name;  ///< CoTaskMem, freed row by row
};
static_assert(sizeof(MPPORT) == 32);
MP_OFFSET(MPPORT, guid, 8);
MP_OFFSET(MPPORT, name, 24);

struct MPPORTARRAY {
    uint32_t count;
    MPPORT* ports;  ///< CoTaskMem
};

struct MPCATALOGREC {
    uint32_t id;
    uint32_t subKind;
    uint64_t reserved8;
    char16_t* name;  ///< CoTaskMem
};
static_assert(sizeof(MPCATALOGREC) == 24);
MP_OFFSET(MPCATALOGREC, name, 16);
/// MPCATALOGREC::subKind of items; of families of registered commands too, which have no item data.
inline constexpr uint32_t CATALOG_EFFECT = 1, CATALOG_INSTRUMENT = 2, CATALOG_COMMAND = 3;

/// What GetItemData tells of an item.
struct MPCATALOGITEM {
    uint32_t size;      ///< 24
    uint32_t unusable;  ///< listed, and can't be inserted
    GUID effectClass;   ///< for MPCHANNELREC::effectClass
};
static_assert(sizeof(MPCATALOGITEM) == 24);

/// What the host tells an event filter about the stream.
inline constexpr uint32_t FILTER_PEEK_ONLY = 0x10;  ///< the plug-in only tells what it would take
inline constexpr uint32_t FILTER_NOT_TO_PAGE = 0x10000;
struct MPFILTERINFO {
    uint32_t reserved[8];
    uint32_t capabilities;  ///< capability bits, with FILTER_
};
MP_OFFSET(MPFILTERINFO, capabilities, 32);

struct MPFILTERKEY {
    uint32_t count;
    const uint64_t* ports;
};

#undef MP_OFFSET

// ---------------------------------------------------------------------------------------------------------------
// Interfaces that the plug-in implements

struct IMPInitialise : IUnknown {
    /// *capabilities: in the host's offer, out what of it the plug-in uses.
    virtual HRESULT Initialise(IUnknown* host, IUnknown* hostSite, uint32_t flags, uint32_t reserved,
                               uint32_t* capabilities) = 0;
    virtual HRESULT Terminate() = 0;
};

struct IQmTranslationInfo : IUnknown {
    virtual HRESULT SetLCID(uint32_t reserved, uint32_t lcid) = 0;
};

struct IMPNotificationSink : IUnknown {
    virtual HRESULT OnNotify(const MPNOTIFYREC* rec) = 0;  ///< [any-thread]
};

struct IMPTimeSink : IUnknown {
    virtual HRESULT OnTime(uint64_t a, uint64_t b, uint64_t c) = 0;  ///< [any-thread]
};

struct IMPCtrlChannelSink : IUnknown {
    virtual HRESULT OnControl(const MPCTRLREC* rec) = 0;  ///< [any-thread]
};

struct IMPEventStream;

struct IMPEventFilter : IUnknown {
    virtual HRESULT FilterEvents(IMPEventStream* stream, const MPFILTERINFO* info) = 0;
    virtual HRESULT GetFilterState(uint32_t* a, uint32_t* state, uint32_t* b) = 0;
    virtual HRESULT SetFilterState(uint32_t state) = 0;
};

struct IMPControlSurfaceDriver : IUnknown {
    virtual HRESULT GetDeviceName(char16_t* out) = 0;  ///< room for 260 characters
    virtual HRESULT GetMapName(char16_t* out) = 0;     ///< room for 260 characters; 1 when no map is current
    virtual HRESULT GetString(char16_t* out, uint32_t size) = 0;
};

// ---------------------------------------------------------------------------------------------------------------
// Interfaces that the host implements, all [any-thread]

struct IMPProjectTree : IUnknown {
    /// Starts an enumeration. *key holds the parent's path and receives the path of the object found; *more
    /// tells that another follows this one.
    virtual HRESULT First(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more,
                          uint32_t kindMask) = 0;
    virtual HRESULT Next(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more,
                         uint32_t kindMask) = 0;
    virtual HRESULT Find(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t* more,
                         uint32_t kindMask) = 0;
    virtual HRESULT Get(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t mask) = 0;
    virtual HRESULT Set(MPCHANNELID* key, uint32_t level, MPEVENTREC* rec, uint32_t mask) = 0;
    virtual HRESULT Reserved6() = 0;
    virtual HRESULT Reserved7() = 0;
    virtual HRESULT Reserved8() = 0;
    virtual HRESULT Reserved9() = 0;
    virtual HRESULT Lock(uint32_t, uint32_t) = 0;  ///< read lock, counted
    virtual HRESULT Unlock(uint32_t) = 0;
    /// Asks the host to send its data again.
    virtual HRESULT Notify(uint32_t op, uint32_t, uint32_t kindMask, uint32_t, uint32_t, uint32_t,
                           uint32_t) = 0;
};

struct IMPPropertyStore : IUnknown {
    virtual HRESULT GetHostInfo(char16_t** name, uint32_t* version) = 0;
    virtual HRESULT Reserved2() = 0;
    virtual HRESULT GetProperty(const GUID* id, uint32_t index, uint32_t reserved, uint32_t size,
                                void* buffer) = 0;
    virtual HRESULT SetProperty(const GUID* id, uint32_t index, uint32_t size, const void* buffer) = 0;
};

struct IMPTimeConverter : IUnknown {
    virtual HRESULT Convert(int64_t time, uint32_t fromFormat, uint32_t fromRate, int64_t* out,
                            uint32_t toFormat, uint32_t toRate) = 0;
    virtual HRESULT Reserved2() = 0;
    virtual HRESULT Reserved3() = 0;
    virtual HRESULT GetRate(uint32_t format, uint32_t* out) = 0;
};

struct IMPPortList : IUnknown {
    virtual HRESULT GetPorts(uint32_t kind, MPPORTARRAY* out) = 0;
};

struct IMPCtrlChannels : IUnknown {
    /// Enumerates as IMPProjectTree does. The record receives the fields of MASK_IDENTITY.
    virtual HRESULT First(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more,
                          uint32_t kindMask, uint32_t reserved) = 0;
    virtual HRESULT Next(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* more,
                         uint32_t kindMask, uint32_t reserved) = 0;
    /// Fills the ref with the object that answers the input.
    virtual HRESULT Find(MPCHANNELREF* ref, uint32_t level, MPCHANNELREC* rec, uint32_t* found,
                         uint32_t kindMask, uint32_t reserved) = 0;
    virtual HRESULT Get(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t kindFilter,
                        uint32_t mask) = 0;
    virtual HRESULT Set(const MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec, uint32_t mask) = 0;
    /// A new channel of the record's kind at its order index, or a new effect on a channel; *id receives its
    /// path.
    virtual HRESULT Insert(MPCHANNELID* id, uint32_t level, MPCHANNELREC* rec) = 0;
    virtual HRESULT Remove(uint32_t level, const MPCHANNELID* id) = 0;
};

struct IMPPlugInCatalog : IUnknown {
    virtual HRESULT First(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more,
                          uint32_t reserved) = 0;
    virtual HRESULT Next(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t* more,
                         uint32_t reserved) = 0;
    virtual HRESULT Get(uint32_t* id, uint32_t level, MPCATALOGREC* rec, uint32_t flags) = 0;
    virtual HRESULT GetItemData(uint32_t* id, void* out) = 0;
};

struct IMPEventStream : IUnknown {
    virtual HRESULT SetFilter(const MPFILTERKEY* key, uint32_t reserved) = 0;
    virtual HRESULT First(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t typeMask) = 0;
    virtual HRESULT Next(MPEVENTREC* rec, uint32_t* cookie, uint32_t* more, uint32_t typeMask) = 0;
    virtual HRESULT Consume(uint32_t cookie) = 0;  ///< the plug-in has taken the event
};

struct IMPEventOutput : IUnknown {
    /// Sends to an output port that the plug-in has asked for by MPPROP_PORTS_BEGIN; in order, soon, and
    /// without waiting for the device. Long data is copied. 1 when the port is not open. [any-thread]
    virtual HRESULT Send(uint64_t port, const MPEVENTREC* event) = 0;
};

// ---------------------------------------------------------------------------------------------------------------
// Entry points of the module, found by name

extern "C" {
typedef HRESULT (*QmOPTPlug_CreateOPTObjectProc)(IUnknown** out);
typedef HRESULT (*QmOPTPlug_GetOPTObjectInfoProc)(GUID* classId, char16_t* name, uint32_t nameSize,
                                                  uint32_t* flags);
typedef HRESULT (*QmOPTPlug_CreateOPTPropertyPageProc)(const GUID* pageId, IPropertyPage** out);
typedef HRESULT (*QmOPTPlug_UpdateKernelLCIDProc)(uint32_t lcid);
}
