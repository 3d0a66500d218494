  $ . "$TESTDIR/setup.sh"
  $ export MORVANE_SWITCH=none
  $ host() { mrvctl record "$@" >/dev/null; }
  $ plugin=$BUILD/lib/libbatch_plugin.so other=$BUILD/lib/libother_plugin.so

The last writes to registers of a batch of a command, whose caller is not known, and 610 words, which three functions
write, in a plug-in that has library and platform in its own scope. The second time, the process is killed before the
commit of the last 99 words, one of them a step of a program that failed.

  $ shown() {
  >   for register in HI.2:0 HI.2:47 HI.2:80 HI.2:99 HI.3:53 HI.3:99 HF.0:HF_DHS_POL[7].3 HF.0:HF_DHS_POL[40].3 \
  >       HF.0:HF_DHS_POL[45] HI.4:5; do
  >     mrvctl last-write $register $1 | sed -E 's/ 2[0-9]{3}-.*transaction //; s|[^ ]*/||'
  >   done
  > }
  $ host sent -- plugin_host local $plugin
  $ shown sent
  HI.2:0 <- 0x00000000  ok  set_registers batch_plugin.c:14
  HI.2:47 <- 0x0000008d  ok  set_registers batch_plugin.c:14
  HI.2:80 <- 0x000000f0  ok  set_registers batch_plugin.c:14
  HI.2:99 <- 0x00000129  ok  set_registers batch_plugin.c:14
  HI.3:53 <- 0x00000005 mask 0x0000000f  ok  set_fields batch_plugin.c:20
  HI.3:99 <- 0x00000005 mask 0x0000000f  ok  set_fields batch_plugin.c:20
  HF.0:HF_DHS_POL[7].3 <- 0x00000000  ok  fill_table batch_plugin.c:32
  HF.0:HF_DHS_POL[40].3 <- 0x00000000  ok  fill_table batch_plugin.c:32
  HF.0:HF_DHS_POL[45].7 <- 0x00000000  ok  fill_table batch_plugin.c:32
  HI.4:5 <- 0x0000002d  ok  fill_table batch_plugin.c:33
  $ BATCH_DIES=1 host killed -- plugin_host local $plugin
  Killed
  [137]
  $ shown sent >before
  $ shown killed | diff before - | sed -n 's/^> //p'
  HI.2:99 <- 0x00000129  uncommitted, lost  set_registers batch_plugin.c:14
  HI.3:99 <- 0x00000005 mask 0x0000000f  uncommitted, lost  set_fields batch_plugin.c:20
  HF.0:HF_DHS_POL[40].3 <- 0x00000000  uncommitted, lost  fill_table batch_plugin.c:32
  HF.0:HF_DHS_POL[45].7 <- 0x00000000  uncommitted, lost  fill_table batch_plugin.c:32
  HI.4:5 <- 0x0000002d  uncommitted, lost  fill_table batch_plugin.c:33
  $ mrvctl calls killed | awk 'NR > 1 { print $6, $7, $8, $9, $10 }'
  "batch" 512 writes ok LINK_PAUSE_ENABLE
  "Contd XN.." 99 writes lost

A child process that inherits an open transaction:

  $ BATCH_FORKS=1 host forked -- plugin_host local $plugin
  $ mrvctl calls --since 5m forked | awk 'NR > 1 { print $6, $7, $8, $9, $10 }'
  "batch" 512 writes ok LINK_PAUSE_ENABLE
  "" 10 writes lost uncommitted
  "Contd XN.." 99 writes ok

In the global scope; with two platforms; with a plug-in that is unloaded and loaded again; with a scope that comes
before the recorder's.

  $ host scopes -- plugin_host global $plugin
  $ host scopes -- plugin_host local $plugin $other 2>&1 | sed 's|/.*/||'
  libmorvanerecord: several libraries define sse_call2; calls go to libmorvaneplatform.so.1
  $ mrvctl calls scopes | grep -c batch
  6
  $ for scope in global local; do RELOADS=1 mrvctl record again -- plugin_host $scope $plugin | grep loaded; done
  [1]
  $ mrvctl calls again | grep -c batch
  8
  $ host none -- plugin_host deepbind $plugin
  mrvctl record: no call was recorded of plugin_host: none of its processes made a service call that the recorder could see

A program that contains its platform is recorded if it is linked with the recorder:

  $ host none -- own_platform
  mrvctl record: no call was recorded of own_platform: it made no service call, or none that it forwards, as it defines sse_call2; see 'A program that contains its platform' in recording.md
  $ host linked -- recorded_platform
  $ mrvctl calls linked | tail -n 1 | awk '{ print $6, $7, $8, $9, $10 }'
  "Contd XN.." 89 writes lost
