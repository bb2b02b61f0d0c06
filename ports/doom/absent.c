// What the engine can do on other systems and does not do here: other players, joysticks, the text
// screen at the end. Their settings stay where they are in the settings file.

#include "config.h"

#include "doomtype.h"
#include "i_endoom.h"
#include "i_joystick.h"
#include "i_system.h"
#include "net_client.h"
#include "net_dedicated.h"
#include "net_gui.h"
#include "net_io.h"
#include "net_loop.h"
#include "net_query.h"
#include "net_sdl.h"
#include "net_server.h"

void I_Endoom(byte* data) {
    (void)data;
}

void I_InitJoystick(void) {}
void I_ShutdownJoystick(void) {}
void I_UpdateJoystick(void) {}
void I_BindJoystickVariables(void) {}

boolean net_client_connected = false;
boolean drone = false;
boolean net_waiting_for_launch = false;
net_waitdata_t net_client_wait_data;
char* net_client_reject_reason = "";
char* net_player_name = "";
net_module_t net_sdl_module, net_loop_client_module, net_loop_server_module;

static void Refuse(void) {
    I_Error("There are no games over a network here.");
}

void NET_Init(void) {}
void NET_BindVariables(void) {}
void NET_CL_Run(void) {}
void NET_CL_Disconnect(void) {}
void NET_SV_Run(void) {}
void NET_SV_Shutdown(void) {}

void NET_CL_SendTiccmd(ticcmd_t* command, int tic) {
    (void)command, (void)tic;
}

void NET_CL_StartGame(net_gamesettings_t* settings) {
    (void)settings;
}

boolean NET_CL_GetSettings(net_gamesettings_t* settings) {
    (void)settings;
    return false;
}

boolean NET_CL_Connect(net_addr_t* address, net_connect_data_t* data) {
    (void)address, (void)data;
    Refuse();
    return false;
}

void NET_DedicatedServer(void) {
    Refuse();
}

void NET_LANQuery(void) {
    Refuse();
}

void NET_MasterQuery(void) {
    Refuse();
}

void NET_QueryAddress(const char* address) {
    (void)address;
    Refuse();
}

net_addr_t* NET_FindLANServer(void) {
    Refuse();
    return NULL;
}

void NET_SV_Init(void) {
    Refuse();
}

void NET_SV_AddModule(net_module_t* module) {
    (void)module;
}

void NET_SV_RegisterWithMaster(void) {}
void NET_WaitForLaunch(void) {}

void NET_ReferenceAddress(net_addr_t* address) {
    (void)address;
}

void NET_ReleaseAddress(net_addr_t* address) {
    (void)address;
}

char* NET_AddrToString(net_addr_t* address) {
    (void)address;
    return "";
}
