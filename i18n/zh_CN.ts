<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name>AsciiModel</name>
    <message>
        <source>Dec</source>
        <translation>十进制</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Oct</source>
        <translation>八进制</translation>
    </message>
    <message>
        <source>Bin</source>
        <translation>二进制</translation>
    </message>
    <message>
        <source>Char</source>
        <translation>字符</translation>
    </message>
    <message>
        <source>Ctrl</source>
        <translation>控制键</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
</context>
<context>
    <name>AsciiTable</name>
    <message>
        <source>ASCII Code</source>
        <translation>ASCII 码表</translation>
    </message>
    <message>
        <source>Codes</source>
        <translation>码表</translation>
    </message>
    <message>
        <source>Filter: a name, a code in any base, a character</source>
        <translation>筛选：名称、任意进制的码值或字符</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>筛选</translation>
    </message>
    <message>
        <source>Insert into the send editor</source>
        <translation>插入到发送区</translation>
    </message>
    <message>
        <source>Send at once</source>
        <translation>立即发送</translation>
    </message>
    <message>
        <source>&amp;Double click:</source>
        <translation>双击(&amp;D)：</translation>
    </message>
</context>
<context>
    <name>BridgeActions</name>
    <message>
        <source>Some bridges of the session make no sense here.</source>
        <translation>会话中的一些桥接在此处没有意义。</translation>
    </message>
</context>
<context>
    <name>BridgeDialog</name>
    <message>
        <source>Needs a TCP server at one end.</source>
        <translation>需要一端是 TCP 服务器。</translation>
    </message>
    <message>
        <source>Needs a TCP client at one end.</source>
        <translation>需要一端是 TCP 客户端。</translation>
    </message>
    <message>
        <source>Needs a network port at one end.</source>
        <translation>需要一端是网络端口。</translation>
    </message>
    <message>
        <source>What one end receives is sent at the other, byte by byte.</source>
        <translation>一端收到的字节原样从另一端发出。</translation>
    </message>
    <message>
        <source>A network client sees the serial port as if it were its own: it sets baud rate, framing and lines.</source>
        <translation>网络客户端像使用自己的串口一样：由它设置波特率、帧格式和控制线。</translation>
    </message>
    <message>
        <source>Modbus TCP clients ask devices on an RTU line; each answer goes back to who asked.</source>
        <translation>Modbus TCP 客户端访问 RTU 线路上的设备；每个应答回到提问者。</translation>
    </message>
    <message>
        <source>The device server at the TCP client end follows the serial parameters of the other end.</source>
        <translation>TCP 客户端一端的设备服务器跟随另一端的串口参数。</translation>
    </message>
    <message>
        <source>Each read goes on as it is, at once.</source>
        <translation>每次读到的数据立即原样转发。</translation>
    </message>
    <message>
        <source>A frame is what comes without a pause.</source>
        <translation>中间没有停顿的数据为一帧。</translation>
    </message>
    <message>
        <source>A frame ends with these bytes.</source>
        <translation>一帧以这些字节结束。</translation>
    </message>
    <message>
        <source>Every frame has the same length.</source>
        <translation>每帧长度相同。</translation>
    </message>
    <message>
        <source>New data has priority; what waits longest is lost, and counted.</source>
        <translation>新数据优先；等待最久的数据被丢弃并计数。</translation>
    </message>
    <message>
        <source>What waits has priority; new data is lost, and counted.</source>
        <translation>等待中的数据优先；新数据被丢弃并计数。</translation>
    </message>
    <message>
        <source>The sending port is read more slowly, so that its flow control can act.</source>
        <translation>放慢读取发送方端口，使其流控起作用。</translation>
    </message>
    <message>
        <source>Nothing more is forwarded until you resume the bridge.</source>
        <translation>在您恢复桥接之前不再转发。</translation>
    </message>
    <message>
        <source>Every client may send at any time, and hears everything.</source>
        <translation>每个客户端随时可以发送，并收到全部数据。</translation>
    </message>
    <message>
        <source>Further clients are refused while one is connected.</source>
        <translation>已有一个客户端连接时拒绝其他客户端。</translation>
    </message>
    <message>
        <source>Each request goes out alone, and its answer goes to who asked only.</source>
        <translation>每个请求单独发出，应答只给提问者。</translation>
    </message>
    <message>
        <source>Whoever sent the last datagram.</source>
        <translation>最后发来数据报的一方。</translation>
    </message>
    <message>
        <source>The host and port that the port&apos;s own settings name.</source>
        <translation>端口自身设置中的主机和端口。</translation>
    </message>
    <message>
        <source>Everybody who has sent a datagram since the port was opened.</source>
        <translation>端口打开以来发来过数据报的所有各方。</translation>
    </message>
    <message>
        <source>Pairs of hexadecimal digits, e.g. 0D0A</source>
        <translation>成对的十六进制数字，例如 0D0A</translation>
    </message>
    <message>
        <source>The mark lies above the queue limit.</source>
        <translation>该水位高于队列上限。</translation>
    </message>
    <message>
        <source>The mark does not lie below the high-water mark.</source>
        <translation>该水位不低于高水位。</translation>
    </message>
    <message>
        <source>%1 is no address and no subnet.</source>
        <translation>%1 既不是地址也不是子网。</translation>
    </message>
    <message>
        <source>Choose a file.</source>
        <translation>请选择文件。</translation>
    </message>
    <message>
        <source>This is a folder.</source>
        <translation>这是一个文件夹。</translation>
    </message>
    <message>
        <source>There is no folder %1.</source>
        <translation>没有文件夹 %1。</translation>
    </message>
    <message>
        <source>Capture File</source>
        <translation>抓取文件</translation>
    </message>
    <message>
        <source>Add Bridge</source>
        <translation>添加桥接</translation>
    </message>
    <message>
        <source>Edit Bridge</source>
        <translation>编辑桥接</translation>
    </message>
    <message>
        <source>Ends</source>
        <translation>两端</translation>
    </message>
    <message>
        <source>A → B</source>
        <translation>A → B</translation>
    </message>
    <message>
        <source>B → A</source>
        <translation>B → A</translation>
    </message>
    <message>
        <source>A ⇄ B (both ways)</source>
        <translation>A ⇄ B（双向）</translation>
    </message>
    <message>
        <source>Transparent (pass bytes through)</source>
        <translation>透明（直接传递字节）</translation>
    </message>
    <message>
        <source>RFC 2217 server (remote client sets the serial parameters)</source>
        <translation>RFC 2217 服务器（远程客户端设置串口参数）</translation>
    </message>
    <message>
        <source>Modbus TCP to Modbus RTU gateway</source>
        <translation>Modbus TCP 到 Modbus RTU 网关</translation>
    </message>
    <message>
        <source>RFC 2217 client (set a remote device server&apos;s serial parameters)</source>
        <translation>RFC 2217 客户端（设置远程设备服务器的串口参数）</translation>
    </message>
    <message>
        <source>E&amp;nabled</source>
        <translation>启用(&amp;N)</translation>
    </message>
    <message>
        <source>&amp;Open both ends automatically</source>
        <translation>自动打开两端(&amp;O)</translation>
    </message>
    <message>
        <source>&amp;Show forwarded data in the views</source>
        <translation>在视图中显示转发的数据(&amp;S)</translation>
    </message>
    <message>
        <source> bytes/s</source>
        <translation> 字节/秒</translation>
    </message>
    <message>
        <source>Na&amp;me:</source>
        <translation>名称(&amp;M)：</translation>
    </message>
    <message>
        <source>End &amp;A:</source>
        <translation>A 端(&amp;A)：</translation>
    </message>
    <message>
        <source>End &amp;B:</source>
        <translation>B 端(&amp;B)：</translation>
    </message>
    <message>
        <source>&amp;Direction:</source>
        <translation>方向(&amp;D)：</translation>
    </message>
    <message>
        <source>&amp;Protocol:</source>
        <translation>协议(&amp;P)：</translation>
    </message>
    <message>
        <source>A port that cannot be opened is tried again until it can. One that you close stays closed.</source>
        <translation>打不开的端口会一直重试。您关闭的端口保持关闭。</translation>
    </message>
    <message>
        <source>M&amp;ute above:</source>
        <translation>高于此速率不显示(&amp;U)：</translation>
    </message>
    <message>
        <source>Forwarded data that comes faster is not shown, only counted.</source>
        <translation>更快的转发数据不显示，只计数。</translation>
    </message>
    <message>
        <source>Framing</source>
        <translation>分帧</translation>
    </message>
    <message>
        <source>Forward immediately (lowest latency)</source>
        <translation>立即转发（延迟最低）</translation>
    </message>
    <message>
        <source>Cut on idle gap (Modbus RTU)</source>
        <translation>按空闲间隔分帧（Modbus RTU）</translation>
    </message>
    <message>
        <source>Cut on delimiter</source>
        <translation>按分隔符分帧</translation>
    </message>
    <message>
        <source>Fixed length</source>
        <translation>固定长度</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> 毫秒</translation>
    </message>
    <message>
        <source> bytes</source>
        <translation> 字节</translation>
    </message>
    <message>
        <source>&amp;Frames:</source>
        <translation>分帧方式(&amp;F)：</translation>
    </message>
    <message>
        <source>&amp;Idle gap:</source>
        <translation>空闲间隔(&amp;I)：</translation>
    </message>
    <message>
        <source>A silence of this length ends a frame.</source>
        <translation>静默达到此时长即结束一帧。</translation>
    </message>
    <message>
        <source>De&amp;limiter:</source>
        <translation>分隔符(&amp;L)：</translation>
    </message>
    <message>
        <source>Hex, e.g. 0D0A</source>
        <translation>十六进制，例如 0D0A</translation>
    </message>
    <message>
        <source>Len&amp;gth:</source>
        <translation>长度(&amp;G)：</translation>
    </message>
    <message>
        <source>Lar&amp;gest frame:</source>
        <translation>最大帧长(&amp;G)：</translation>
    </message>
    <message>
        <source>More than this is cut and forwarded.</source>
        <translation>超过此长度即切断并转发。</translation>
    </message>
    <message>
        <source>&amp;Hold at most:</source>
        <translation>最长保留(&amp;H)：</translation>
    </message>
    <message>
        <source>Data that never completes a frame is released after this long.</source>
        <translation>始终不成一帧的数据在此时长后放行。</translation>
    </message>
    <message>
        <source>Flow Control</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>Drop the oldest data</source>
        <translation>丢弃最旧的数据</translation>
    </message>
    <message>
        <source>Drop the newest data</source>
        <translation>丢弃最新的数据</translation>
    </message>
    <message>
        <source>Slow the sender down (recommended)</source>
        <translation>让发送方减速（推荐）</translation>
    </message>
    <message>
        <source>Stop the bridge and tell me</source>
        <translation>停止桥接并告诉我</translation>
    </message>
    <message>
        <source>Stop automatically if a cable &amp;loop is detected</source>
        <translation>检测到线缆环路时自动停止(&amp;L)</translation>
    </message>
    <message>
        <source>When the &amp;queue is full:</source>
        <translation>队列已满时(&amp;Q)：</translation>
    </message>
    <message>
        <source>Queue &amp;limit:</source>
        <translation>队列上限(&amp;L)：</translation>
    </message>
    <message>
        <source>What may wait in each direction.</source>
        <translation>每个方向可以等待的数据量。</translation>
    </message>
    <message>
        <source>&amp;High-water mark:</source>
        <translation>高水位(&amp;H)：</translation>
    </message>
    <message>
        <source>From here on the sender is slowed down.</source>
        <translation>从此水位起让发送方减速。</translation>
    </message>
    <message>
        <source>Lo&amp;w-water mark:</source>
        <translation>低水位(&amp;W)：</translation>
    </message>
    <message>
        <source>Down to here it stays slowed down.</source>
        <translation>降到此水位之前保持减速。</translation>
    </message>
    <message>
        <source>&amp;Unsent limit:</source>
        <translation>未发送上限(&amp;U)：</translation>
    </message>
    <message>
        <source>What the receiving port may have waiting before the queue is used.</source>
        <translation>使用队列之前接收方端口可以积压的数据量。</translation>
    </message>
    <message>
        <source>Loop &amp;rate:</source>
        <translation>环路速率(&amp;R)：</translation>
    </message>
    <message>
        <source>More than this, for as long as set below, counts as a loop.</source>
        <translation>超过此速率并持续下面设定的时间即视为环路。</translation>
    </message>
    <message>
        <source>Loop &amp;time:</source>
        <translation>环路时间(&amp;T)：</translation>
    </message>
    <message>
        <source>Peers</source>
        <translation>对端</translation>
    </message>
    <message>
        <source>All clients share the port</source>
        <translation>所有客户端共享端口</translation>
    </message>
    <message>
        <source>One client at a time (recommended)</source>
        <translation>同一时间一个客户端（推荐）</translation>
    </message>
    <message>
        <source>Take turns, one request at a time</source>
        <translation>轮流，一次一个请求</translation>
    </message>
    <message>
        <source>Reply to the last sender</source>
        <translation>回复最后的发送方</translation>
    </message>
    <message>
        <source>Fixed destination</source>
        <translation>固定目标</translation>
    </message>
    <message>
        <source>All known peers</source>
        <translation>所有已知对端</translation>
    </message>
    <message>
        <source>Tell clients when a device does not &amp;answer</source>
        <translation>设备不应答时告知客户端(&amp;A)</translation>
    </message>
    <message>
        <source>TCP &amp;clients:</source>
        <translation>TCP 客户端(&amp;C)：</translation>
    </message>
    <message>
        <source>&amp;UDP target:</source>
        <translation>UDP 目标(&amp;U)：</translation>
    </message>
    <message>
        <source>Wait for an ans&amp;wer:</source>
        <translation>等待应答(&amp;W)：</translation>
    </message>
    <message>
        <source>Then the next request has its turn.</source>
        <translation>之后轮到下一个请求。</translation>
    </message>
    <message>
        <source>Waiting re&amp;quests:</source>
        <translation>等待的请求(&amp;Q)：</translation>
    </message>
    <message>
        <source>One more drops the oldest.</source>
        <translation>再多一个则丢弃最旧的。</translation>
    </message>
    <message>
        <source>&amp;Transaction time-out:</source>
        <translation>事务超时(&amp;T)：</translation>
    </message>
    <message>
        <source>An answer that comes later reaches nobody.</source>
        <translation>更晚到达的应答不给任何人。</translation>
    </message>
    <message>
        <source>With the Modbus exceptions 0x0A (not sent) and 0x0B (no answer). Otherwise they hear nothing.</source>
        <translation>使用 Modbus 异常 0x0A（未发出）和 0x0B（无应答）。否则客户端收不到任何回应。</translation>
    </message>
    <message>
        <source>Allowed a&amp;ddresses:</source>
        <translation>允许的地址(&amp;D)：</translation>
    </message>
    <message>
        <source>One address or subnet per line, such as 192.168.1.10 or 192.168.1.0/24. Empty allows any address.</source>
        <translation>每行一个地址或子网，例如 192.168.1.10 或 192.168.1.0/24。留空允许任何地址。</translation>
    </message>
    <message>
        <source>Capture</source>
        <translation>抓取</translation>
    </message>
    <message>
        <source>&amp;Record both directions to one file</source>
        <translation>将两个方向记录到一个文件(&amp;R)</translation>
    </message>
    <message>
        <source>File</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>Bro&amp;wse...</source>
        <translation>浏览(&amp;W)...</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Text (control bytes escaped)</source>
        <translation>文本（控制字节转义）</translation>
    </message>
    <message>
        <source> MB</source>
        <translation> MB</translation>
    </message>
    <message>
        <source>&amp;File:</source>
        <translation>文件(&amp;F)：</translation>
    </message>
    <message>
        <source>For&amp;mat:</source>
        <translation>格式(&amp;M)：</translation>
    </message>
    <message>
        <source>&amp;Start a new file at:</source>
        <translation>达到此大小时换新文件(&amp;S)：</translation>
    </message>
    <message>
        <source>The previous capture is kept as .1 and older ones are discarded, so an unattended gateway cannot fill its disk.</source>
        <translation>上一个抓取文件保留为 .1，更旧的被丢弃，因此无人值守的网关不会写满磁盘。</translation>
    </message>
</context>
<context>
    <name>BridgeFlow</name>
    <message>
        <source>Flood guard tripped (possible cable loop)</source>
        <translation>洪泛保护已触发（可能存在线缆环路）</translation>
    </message>
    <message>
        <source>Egress queue overflowed</source>
        <translation>出口队列溢出</translation>
    </message>
</context>
<context>
    <name>BridgeLink</name>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>Bridge &quot;%1&quot;: A is %2, B is %3,</source>
        <translation>桥接“%1”：A 为 %2，B 为 %3，</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Idle</source>
        <translation>空闲</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>运行中</translation>
    </message>
    <message>
        <source>Degraded</source>
        <translation>降级</translation>
    </message>
    <message>
        <source>Suspended</source>
        <translation>已暂停</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1：%2</translation>
    </message>
    <message>
        <source>Capture stopped: %1</source>
        <translation>抓取已停止：%1</translation>
    </message>
    <message>
        <source>Data was dropped.</source>
        <translation>有数据被丢弃。</translation>
    </message>
    <message>
        <source>Data was dropped: %1</source>
        <translation>有数据被丢弃：%1</translation>
    </message>
    <message>
        <source>%1 B</source>
        <translation>%1 B</translation>
    </message>
    <message>
        <source>%1 KB</source>
        <translation>%1 KB</translation>
    </message>
    <message>
        <source>%1 MB</source>
        <translation>%1 MB</translation>
    </message>
</context>
<context>
    <name>BridgeLog</name>
    <message numerus="yes">
        <source>%n byte(s) are missing here.</source>
        <translation>
            <numerusform>此处缺少 %n 字节。</numerusform>
        </translation>
    </message>
    <message>
        <source>%1 cannot be replaced</source>
        <translation>无法替换 %1</translation>
    </message>
    <message>
        <source>%1 cannot be renamed</source>
        <translation>无法重命名 %1</translation>
    </message>
</context>
<context>
    <name>BridgeManager</name>
    <message>
        <source>Bridge &quot;%1&quot;: %2</source>
        <translation>桥接“%1”：%2</translation>
    </message>
    <message>
        <source>There cannot be more bridges.</source>
        <translation>不能再添加桥接。</translation>
    </message>
    <message>
        <source>Both ends must name a port</source>
        <translation>两端都必须指定端口</translation>
    </message>
    <message>
        <source>Port number is out of range</source>
        <translation>端口号超出范围</translation>
    </message>
    <message>
        <source>A bridge needs two different ports</source>
        <translation>桥接需要两个不同的端口</translation>
    </message>
    <message>
        <source>Port %1 is transferring a file</source>
        <translation>端口 %1 正在传输文件</translation>
    </message>
    <message>
        <source>A Modbus gateway needs both directions</source>
        <translation>Modbus 网关需要双向转发</translation>
    </message>
    <message>
        <source>That direction is already bridged</source>
        <translation>该方向已被桥接</translation>
    </message>
    <message>
        <source>Another bridge allows other addresses at port %1</source>
        <translation>另一个桥接在端口 %1 允许的地址不同</translation>
    </message>
    <message>
        <source>Several clients of port %1 can write to port %2 at the same time: what they send may mix. Let them take turns if the device answers requests.</source>
        <translation>端口 %1 的多个客户端可以同时写入端口 %2：它们发送的内容可能混在一起。如果设备应答请求，请让它们轮流。</translation>
    </message>
    <message>
        <source>Another bridge writes to port %1 as well: what they send may mix.</source>
        <translation>另一个桥接也写入端口 %1：发送的内容可能混在一起。</translation>
    </message>
</context>
<context>
    <name>BridgeWindow</name>
    <message>
        <source>&amp;Edit...</source>
        <translation>编辑(&amp;E)...</translation>
    </message>
    <message>
        <source>Re&amp;move</source>
        <translation>移除(&amp;M)</translation>
    </message>
    <message>
        <source>E&amp;nable</source>
        <translation>启用(&amp;N)</translation>
    </message>
    <message>
        <source>&amp;Resume</source>
        <translation>恢复(&amp;R)</translation>
    </message>
    <message>
        <source>Open &amp;Capture</source>
        <translation>打开抓取文件(&amp;C)</translation>
    </message>
    <message>
        <source>Bridges</source>
        <translation>桥接</translation>
    </message>
    <message>
        <source>State</source>
        <translation>状态</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Ports</source>
        <translation>端口</translation>
    </message>
    <message>
        <source>A to B</source>
        <translation>A 到 B</translation>
    </message>
    <message>
        <source>B to A</source>
        <translation>B 到 A</translation>
    </message>
    <message>
        <source>Missing</source>
        <translation>缺失</translation>
    </message>
    <message>
        <source>Last two minutes</source>
        <translation>最近两分钟</translation>
    </message>
    <message>
        <source>&amp;Add...</source>
        <translation>添加(&amp;A)...</translation>
    </message>
    <message>
        <source>A to B: %1 in, %2 out, %3 waiting, %4 dropped, %5 discarded, %6 not sent</source>
        <translation>A 到 B：收 %1，发 %2，等待 %3，丢弃 %4，未处理 %5，未送出 %6</translation>
    </message>
    <message>
        <source>B to A: %1 in, %2 out, %3 waiting, %4 dropped, %5 discarded, %6 not sent</source>
        <translation>B 到 A：收 %1，发 %2，等待 %3，丢弃 %4，未处理 %5，未送出 %6</translation>
    </message>
    <message>
        <source>No traffic yet</source>
        <translation>尚无流量</translation>
    </message>
    <message>
        <source>Taking turns: %1 waiting, %2 unanswered, %3 dropped</source>
        <translation>轮流：%1 个等待，%2 个无应答，%3 个丢弃</translation>
    </message>
    <message>
        <source>%1 has had the turn for %2 s.</source>
        <translation>%1 已占用轮次 %2 秒。</translation>
    </message>
    <message>
        <source>Next: %1</source>
        <translation>接下来：%1</translation>
    </message>
    <message>
        <source>Disa&amp;ble</source>
        <translation>停用(&amp;B)</translation>
    </message>
    <message>
        <source>A bridge joins two ports: what one receives is sent at the other.</source>
        <translation>桥接连接两个端口：一个收到的数据从另一个发出。</translation>
    </message>
    <message>
        <source>A bridge joins two ports; add a second port first (Edit &gt; Add Port).</source>
        <translation>桥接连接两个端口；请先添加第二个端口（编辑 &gt; 添加端口）。</translation>
    </message>
    <message>
        <source>Remove the bridge %1?</source>
        <translation>移除桥接 %1？</translation>
    </message>
    <message>
        <source>Nothing has been captured yet.</source>
        <translation>还没有抓取任何数据。</translation>
    </message>
</context>
<context>
    <name>CalculatorPanel</name>
    <message>
        <source>Signed</source>
        <translation>有符号</translation>
    </message>
    <message>
        <source>Decimal</source>
        <translation>十进制</translation>
    </message>
    <message>
        <source>Decimal with the other sign</source>
        <translation>按另一种符号方式的十进制</translation>
    </message>
    <message>
        <source>Hexadecimal</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Octal</source>
        <translation>八进制</translation>
    </message>
    <message>
        <source>Binary</source>
        <translation>二进制</translation>
    </message>
    <message>
        <source>Bytes swapped</source>
        <translation>字节交换</translation>
    </message>
    <message>
        <source>As float</source>
        <translation>转为 float</translation>
    </message>
    <message>
        <source>As double</source>
        <translation>转为 double</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>数值</translation>
    </message>
    <message>
        <source>For example (0x3F &lt;&lt; 4) | 0b101</source>
        <translation>例如 (0x3F &lt;&lt; 4) | 0b101</translation>
    </message>
    <message>
        <source>Operators: | ^ &amp; &lt;&lt; &gt;&gt; + - * / % ** ~
Numbers: 42, 0x2A, 0b101010, 0o52, 1.5e3, &apos;*&apos;
Functions: %1</source>
        <translation>运算符：| ^ &amp; &lt;&lt; &gt;&gt; + - * / % ** ~
数值：42, 0x2A, 0b101010, 0o52, 1.5e3, &apos;*&apos;
函数：%1</translation>
    </message>
    <message>
        <source>%1 bits</source>
        <translation>%1 位</translation>
    </message>
    <message>
        <source>Width of integers</source>
        <translation>整数位宽</translation>
    </message>
    <message>
        <source>Expression</source>
        <translation>表达式</translation>
    </message>
    <message>
        <source>Integers</source>
        <translation>整数</translation>
    </message>
    <message>
        <source>The result as the bits of an IEEE 754 binary32 number</source>
        <translation>结果对应的 IEEE 754 binary32（单精度）位模式</translation>
    </message>
    <message>
        <source>The result as the bits of an IEEE 754 binary64 number</source>
        <translation>结果对应的 IEEE 754 binary64（双精度）位模式</translation>
    </message>
    <message>
        <source>8 or 16 hexadecimal digits, for example 3F800000</source>
        <translation>8 或 16 位十六进制数字，例如 3F800000</translation>
    </message>
    <message>
        <source>IEEE 754 bits</source>
        <translation>IEEE 754 位模式</translation>
    </message>
    <message>
        <source>Unsigned</source>
        <translation>无符号</translation>
    </message>
    <message>
        <source>%1 (position %2)</source>
        <translation>%1（位置 %2）</translation>
    </message>
    <message>
        <source>A step did not fit %1 bits; its upper bits are lost.</source>
        <translation>某一步的结果超出 %1 位，高位已丢失。</translation>
    </message>
    <message>
        <source>float %1</source>
        <translation>float %1</translation>
    </message>
    <message>
        <source>double %1</source>
        <translation>double %1</translation>
    </message>
</context>
<context>
    <name>CommandLine</name>
    <message>
        <source>A terminal for serial ports and network byte streams.</source>
        <translation>串口与网络字节流终端。</translation>
    </message>
    <message>
        <source>Shows this help.</source>
        <translation>显示此帮助。</translation>
    </message>
    <message>
        <source>Saves a picture of the window to &lt;file&gt; and ends.</source>
        <translation>将窗口截图保存到 &lt;file&gt; 后退出。</translation>
    </message>
    <message>
        <source>file</source>
        <translation>file</translation>
    </message>
    <message>
        <source>A serial port, opened in the first pane, or a session file (*.vmr).</source>
        <translation>在第一个窗格中打开的串口，或会话文件（*.vmr）。</translation>
    </message>
    <message>
        <source>[port]</source>
        <translation>[port]</translation>
    </message>
</context>
<context>
    <name>ConnectionController</name>
    <message>
        <source>No TCP client is connected: nothing was sent</source>
        <translation>没有已连接的 TCP 客户端：未发送任何数据</translation>
    </message>
    <message>
        <source>The chosen TCP client is gone: nothing was sent. Choose whom to send to</source>
        <translation>所选的 TCP 客户端已离开：未发送任何数据。请重新选择发送对象</translation>
    </message>
    <message>
        <source>Open the serial port before sending Break</source>
        <translation>发送 Break 前请先打开串口</translation>
    </message>
</context>
<context>
    <name>ConnectionPage</name>
    <message>
        <source>The connection is open. Close it to connect elsewhere.</source>
        <translation>连接已打开。请先关闭再连接其他目标。</translation>
    </message>
    <message>
        <source>Choose a type that can be opened.</source>
        <translation>请选择可以打开的类型。</translation>
    </message>
    <message>
        <source>No serial port was found. Plug a device in, or type the path of one.</source>
        <translation>未找到串口。请插入设备，或输入设备路径。</translation>
    </message>
    <message>
        <source>Choose a serial port, or type the path of a device.</source>
        <translation>请选择串口，或输入设备路径。</translation>
    </message>
    <message>
        <source>Enter a host name or address, for example 192.168.1.10.</source>
        <translation>请输入主机名或地址，例如 192.168.1.10。</translation>
    </message>
    <message>
        <source>A host name or address has no blanks and no slashes.</source>
        <translation>主机名或地址不能含有空格和斜杠。</translation>
    </message>
    <message>
        <source>A port behind the host is a number from 1 to 65535.</source>
        <translation>主机后的端口须为 1 到 65535 的数字。</translation>
    </message>
    <message>
        <source>Enter the baud rate as a number from 1 to 100000000.</source>
        <translation>请输入 1 到 100000000 的波特率。</translation>
    </message>
    <message>
        <source>serial number %1</source>
        <translation>序列号 %1</translation>
    </message>
    <message>
        <source>not there now</source>
        <translation>当前不存在</translation>
    </message>
</context>
<context>
    <name>ConnectionPanel</name>
    <message>
        <source>Connection Settings</source>
        <translation>连接设置</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>打开</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>类型</translation>
    </message>
    <message>
        <source>Port</source>
        <translation>端口</translation>
    </message>
    <message>
        <source>Host</source>
        <translation>主机</translation>
    </message>
    <message>
        <source>Target Port</source>
        <translation>目标端口</translation>
    </message>
    <message>
        <source>Local Port</source>
        <translation>本地端口</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Keep the remote port&apos;s own config</source>
        <translation>保留远程端口自身的配置</translation>
    </message>
    <message>
        <source>Any free port</source>
        <translation>任意空闲端口</translation>
    </message>
    <message>
        <source>Leave baud rate, framing and control lines as the remote port has them; clear it to set them from here</source>
        <translation>保持远程端口的波特率、帧格式和控制线不变；取消勾选后可在此设置</translation>
    </message>
    <message>
        <source>Settings that the remote port reported</source>
        <translation>远程端口报告的设置</translation>
    </message>
    <message>
        <source>Listen Port</source>
        <translation>监听端口</translation>
    </message>
</context>
<context>
    <name>ConnectionSummary</name>
    <message>
        <source>No port chosen</source>
        <translation>未选择端口</translation>
    </message>
    <message>
        <source>TCP %1</source>
        <translation>TCP %1</translation>
    </message>
    <message>
        <source>UDP local %1</source>
        <translation>UDP 本地 %1</translation>
    </message>
    <message>
        <source>UDP local %1 to %2</source>
        <translation>UDP 本地 %1 到 %2</translation>
    </message>
    <message>
        <source>No connection</source>
        <translation>无连接</translation>
    </message>
    <message>
        <source>TCP server %1</source>
        <translation>TCP 服务器 %1</translation>
    </message>
    <message>
        <source>RFC 2217 %1</source>
        <translation>RFC 2217 %1</translation>
    </message>
    <message>
        <source>any free port</source>
        <translation>任意空闲端口</translation>
    </message>
</context>
<context>
    <name>ControlLineRow</name>
    <message>
        <source>Live control-line levels while the port is open. Some USB serial adapters do not report the input lines.</source>
        <translation>端口打开时显示控制线的实时电平。部分 USB 串口适配器不报告输入线。</translation>
    </message>
    <message>
        <source>Send break</source>
        <translation>发送 Break</translation>
    </message>
    <message>
        <source>%1 activity</source>
        <translation>%1 活动</translation>
    </message>
    <message>
        <source>%1 output</source>
        <translation>%1 输出</translation>
    </message>
    <message>
        <source>%1 input</source>
        <translation>%1 输入</translation>
    </message>
    <message>
        <source>Click to toggle the RTS output</source>
        <translation>点击切换 RTS 输出</translation>
    </message>
    <message>
        <source>Click to toggle the DTR output</source>
        <translation>点击切换 DTR 输出</translation>
    </message>
    <message>
        <source>Lights while data is being sent or received</source>
        <translation>收发数据时点亮</translation>
    </message>
    <message>
        <source>Clear &quot;Keep the remote port&apos;s own config&quot; to drive RTS, DTR and Break from here.</source>
        <translation>取消“保留远程端口自身的配置”后，可在此控制 RTS、DTR 和 Break。</translation>
    </message>
</context>
<context>
    <name>CrcCalculation</name>
    <message>
        <source>Width must be between 1 and 64.</source>
        <translation>位宽必须在 1 到 64 之间。</translation>
    </message>
    <message>
        <source>%1 must be a hexadecimal value that fits the width.</source>
        <translation>%1必须是不超出位宽的十六进制数。</translation>
    </message>
    <message>
        <source>Polynomial</source>
        <translation>多项式</translation>
    </message>
    <message>
        <source>Polynomial must not be zero.</source>
        <translation>多项式不能为零。</translation>
    </message>
    <message>
        <source>Initial value</source>
        <translation>初始值</translation>
    </message>
    <message>
        <source>Final XOR</source>
        <translation>结果异或值</translation>
    </message>
</context>
<context>
    <name>CrcPanel</name>
    <message>
        <source>Custom parameters</source>
        <translation>自定义参数</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>输入</translation>
    </message>
    <message>
        <source>Read as</source>
        <translation>输入格式</translation>
    </message>
    <message>
        <source>Binary</source>
        <translation>二进制</translation>
    </message>
    <message>
        <source>Octal</source>
        <translation>八进制</translation>
    </message>
    <message>
        <source>Hexadecimal</source>
        <translation>十六进制</translation>
    </message>
    <message>
        <source>Most significant byte first</source>
        <translation>高字节在前</translation>
    </message>
    <message>
        <source>Least significant byte first</source>
        <translation>低字节在前</translation>
    </message>
    <message numerus="yes">
        <source>%n input byte(s)</source>
        <translation>
            <numerusform>输入 %n 字节</numerusform>
        </translation>
    </message>
    <message>
        <source>AS&amp;CII</source>
        <translation>AS&amp;CII</translation>
    </message>
    <message>
        <source>&amp;Hex</source>
        <translation>十六进制(&amp;H)</translation>
    </message>
    <message>
        <source>Insert into &amp;Send Editor</source>
        <translation>插入到发送区(&amp;S)</translation>
    </message>
    <message>
        <source>&amp;Input</source>
        <translation>输入(&amp;I)</translation>
    </message>
    <message>
        <source>Al&amp;gorithm</source>
        <translation>算法(&amp;G)</translation>
    </message>
    <message>
        <source>R&amp;eflect input</source>
        <translation>输入反转(&amp;E)</translation>
    </message>
    <message>
        <source>Reflect &amp;output</source>
        <translation>输出反转(&amp;O)</translation>
    </message>
    <message>
        <source>Wi&amp;dth</source>
        <translation>位宽(&amp;D)</translation>
    </message>
    <message>
        <source>&amp;Polynomial</source>
        <translation>多项式(&amp;P)</translation>
    </message>
    <message>
        <source>I&amp;nitial value</source>
        <translation>初始值(&amp;N)</translation>
    </message>
    <message>
        <source>&amp;Final XOR</source>
        <translation>结果异或值(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;Base</source>
        <translation>进制(&amp;B)</translation>
    </message>
    <message>
        <source>Resul&amp;t</source>
        <translation>结果(&amp;T)</translation>
    </message>
    <message>
        <source>B&amp;yte order</source>
        <translation>字节序(&amp;Y)</translation>
    </message>
    <message>
        <source>&amp;Wire bytes</source>
        <translation>线上字节(&amp;W)</translation>
    </message>
</context>
<context>
    <name>DisplayPage</name>
    <message>
        <source>&amp;Bold</source>
        <translation>粗体(&amp;B)</translation>
    </message>
    <message>
        <source>Color by &amp;direction</source>
        <translation>按方向着色(&amp;D)</translation>
    </message>
    <message>
        <source>Color of received data</source>
        <translation>接收数据的颜色</translation>
    </message>
    <message>
        <source>Color of sent data</source>
        <translation>发送数据的颜色</translation>
    </message>
    <message>
        <source>S&amp;how TX/RX and control line indicators</source>
        <translation>显示 TX/RX 与控制线指示灯(&amp;H)</translation>
    </message>
    <message>
        <source>Received: 0O 1lI {}[]() 48 65 6C</source>
        <translation>接收：0O 1lI {}[]() 48 65 6C</translation>
    </message>
    <message>
        <source>Sent: 0O 1lI {}[]() 48 65 6C</source>
        <translation>发送：0O 1lI {}[]() 48 65 6C</translation>
    </message>
    <message>
        <source> pt</source>
        <translation> 磅</translation>
    </message>
    <message>
        <source> MB</source>
        <translation> MB</translation>
    </message>
    <message>
        <source>How much text the view keeps; older text leaves at the top</source>
        <translation>显示区保留的文本量，较早的文本会被移除</translation>
    </message>
    <message>
        <source>&amp;Font</source>
        <translation>字体(&amp;F)</translation>
    </message>
    <message>
        <source>Font Si&amp;ze</source>
        <translation>字号(&amp;Z)</translation>
    </message>
    <message>
        <source>&amp;Received</source>
        <translation>接收(&amp;R)</translation>
    </message>
    <message>
        <source>&amp;Sent</source>
        <translation>发送(&amp;S)</translation>
    </message>
    <message>
        <source>Sample</source>
        <translation>示例</translation>
    </message>
    <message>
        <source>Display B&amp;uffer</source>
        <translation>显示缓冲(&amp;U)</translation>
    </message>
</context>
<context>
    <name>Expression</name>
    <message>
        <source>&quot;%1&quot; is not understood.</source>
        <translation>无法识别“%1”。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a number.</source>
        <translation>“%1”不是数值。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; does not fit 64 bits.</source>
        <translation>“%1”超出 64 位。</translation>
    </message>
    <message>
        <source>A character stands between two single quotes.</source>
        <translation>字符应写在一对单引号之间。</translation>
    </message>
    <message>
        <source>The expression is not complete.</source>
        <translation>表达式不完整。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not expected here.</source>
        <translation>此处不应出现“%1”。</translation>
    </message>
    <message>
        <source>Bit operations work on integers only.</source>
        <translation>位运算只能用于整数。</translation>
    </message>
    <message>
        <source>A shift count must not be negative.</source>
        <translation>移位位数不能为负。</translation>
    </message>
    <message>
        <source>Division by zero.</source>
        <translation>除数为零。</translation>
    </message>
    <message>
        <source>The expression is nested too deeply.</source>
        <translation>表达式嵌套过深。</translation>
    </message>
    <message>
        <source>An integer has no negative power; write the base with a point.</source>
        <translation>整数没有负次幂；请将底数写成带小数点的形式。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a known name.</source>
        <translation>未知名称“%1”。</translation>
    </message>
    <message numerus="yes">
        <source>&quot;%1&quot; takes %n argument(s).</source>
        <translation>
            <numerusform>“%1”需要 %n 个参数。</numerusform>
        </translation>
    </message>
    <message>
        <source>&quot;%1&quot; is not a known function.</source>
        <translation>未知函数“%1”。</translation>
    </message>
    <message>
        <source>The number does not fit %1 bits.</source>
        <translation>数值超出 %1 位。</translation>
    </message>
    <message>
        <source>The expression is longer than %1 characters.</source>
        <translation>表达式超过 %1 个字符。</translation>
    </message>
</context>
<context>
    <name>FileTransferBar</name>
    <message>
        <source>Cancel Transfer</source>
        <translation>取消传输</translation>
    </message>
    <message>
        <source>Open Folder</source>
        <translation>打开文件夹</translation>
    </message>
    <message>
        <source>File transfer</source>
        <translation>文件传输</translation>
    </message>
    <message>
        <source>Progress of the file transfer</source>
        <translation>文件传输进度</translation>
    </message>
    <message>
        <source>Dismiss</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Dismiss the end of the file transfer</source>
        <translation>关闭文件传输结果</translation>
    </message>
    <message>
        <source>Receiving %1 (%2)</source>
        <translation>正在接收 %1（%2）</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>%1 / %2</translation>
    </message>
    <message>
        <source>stopping</source>
        <translation>正在停止</translation>
    </message>
    <message>
        <source>waiting for the device, %1</source>
        <translation>等待设备，%1</translation>
    </message>
    <message>
        <source>%1/s</source>
        <translation>%1/秒</translation>
    </message>
    <message>
        <source>%1 left</source>
        <translation>剩余 %1</translation>
    </message>
    <message numerus="yes">
        <source>%n retries</source>
        <translation>
            <numerusform>%n 次重试</numerusform>
        </translation>
    </message>
    <message>
        <source>Saved as %1</source>
        <translation>已保存为 %1</translation>
    </message>
</context>
<context>
    <name>FileTransferDialog</name>
    <message>
        <source>&amp;Keep this dialog open</source>
        <translation>保持对话框打开(&amp;K)</translation>
    </message>
    <message>
        <source>Send File</source>
        <translation>发送文件</translation>
    </message>
    <message>
        <source>Receive File</source>
        <translation>接收文件</translation>
    </message>
    <message>
        <source>1024 bytes where the protocol allows it</source>
        <translation>协议允许时使用 1024 字节</translation>
    </message>
    <message>
        <source>128 bytes</source>
        <translation>128 字节</translation>
    </message>
    <message>
        <source> KB</source>
        <translation> KB</translation>
    </message>
    <message>
        <source>No limit</source>
        <translation>无限制</translation>
    </message>
    <message>
        <source>&amp;Protocol:</source>
        <translation>协议(&amp;P)：</translation>
    </message>
    <message>
        <source>&amp;Block size:</source>
        <translation>块大小(&amp;B)：</translation>
    </message>
    <message>
        <source>&amp;Stop after:</source>
        <translation>上限(&amp;S)：</translation>
    </message>
    <message>
        <source>&amp;Client:</source>
        <translation>客户端(&amp;C)：</translation>
    </message>
    <message>
        <source>&amp;Send</source>
        <translation>发送(&amp;S)</translation>
    </message>
    <message>
        <source>&amp;Receive</source>
        <translation>接收(&amp;R)</translation>
    </message>
    <message>
        <source>Bro&amp;wse...</source>
        <translation>浏览(&amp;W)...</translation>
    </message>
    <message>
        <source>&amp;File:</source>
        <translation>文件(&amp;F)：</translation>
    </message>
    <message>
        <source>&amp;Folder:</source>
        <translation>文件夹(&amp;F)：</translation>
    </message>
    <message>
        <source>File &amp;name:</source>
        <translation>文件名(&amp;N)：</translation>
    </message>
    <message>
        <source>Receive Into</source>
        <translation>接收到</translation>
    </message>
    <message>
        <source>YMODEM-G does not resend anything, so it needs hardware flow control (RTS/CTS). This connection has none: a single error would abandon the whole transfer.</source>
        <translation>YMODEM-G 不会重发任何数据，因此需要硬件流控（RTS/CTS）。此连接没有流控：一个错误就会使整个传输中止。</translation>
    </message>
    <message>
        <source>XMODEM carries no file name or length, so you must supply the name, and the received file is always padded up to a whole number of blocks.</source>
        <translation>XMODEM 不传送文件名和长度，因此必须由您给出文件名，并且收到的文件总是补齐为整数个块。</translation>
    </message>
    <message>
        <source>XMODEM carries no file name or length. The device will receive the data padded up to a whole number of blocks.</source>
        <translation>XMODEM 不传送文件名和长度。设备收到的数据会补齐为整数个块。</translation>
    </message>
    <message>
        <source>Choose the file to send.</source>
        <translation>请选择要发送的文件。</translation>
    </message>
    <message>
        <source>Choose the folder to receive into.</source>
        <translation>请选择用于接收的文件夹。</translation>
    </message>
    <message>
        <source>There is no such file.</source>
        <translation>没有这个文件。</translation>
    </message>
    <message>
        <source>This is not a file.</source>
        <translation>这不是文件。</translation>
    </message>
    <message>
        <source>This is not a folder.</source>
        <translation>这不是文件夹。</translation>
    </message>
    <message>
        <source>Enter a name for the file.</source>
        <translation>请输入文件名。</translation>
    </message>
    <message>
        <source>The oldest: blocks of 128 bytes with a simple checksum. Use it when the device offers nothing better.</source>
        <translation>最古老：128 字节的块和简单校验和。仅当设备没有更好的选择时使用。</translation>
    </message>
    <message>
        <source>Blocks of 128 bytes with a CRC, which finds nearly every error.</source>
        <translation>128 字节的块和 CRC，几乎能发现所有错误。</translation>
    </message>
    <message>
        <source>Blocks of 1024 bytes with a CRC: faster on a good line.</source>
        <translation>1024 字节的块和 CRC：在良好线路上更快。</translation>
    </message>
    <message>
        <source>As XMODEM-1K, with name, size and time of the file. The best choice for most devices.</source>
        <translation>同 XMODEM-1K，并传送文件名、大小和时间。适合大多数设备。</translation>
    </message>
    <message>
        <source>As YMODEM without waiting for each block: the fastest, for lines that cannot lose anything.</source>
        <translation>同 YMODEM，但不等待每个块的应答：最快，适合不会丢失数据的线路。</translation>
    </message>
</context>
<context>
    <name>FileTransferSession</name>
    <message>
        <source>The device cancelled the transfer.</source>
        <translation>设备取消了传输。</translation>
    </message>
    <message>
        <source>The connection was closed, so the transfer stopped. If this was a firmware update the device may be left with an incomplete image -- run the update again.</source>
        <translation>连接已关闭，传输已停止。如果这是固件更新，设备中的映像可能不完整，请重新更新。</translation>
    </message>
    <message>
        <source>The connection was lost, so the transfer stopped. If this was a firmware update the device may be left with an incomplete image -- run the update again.</source>
        <translation>连接已丢失，传输已停止。如果这是固件更新，设备中的映像可能不完整，请重新更新。</translation>
    </message>
    <message>
        <source>The device asked for the name &quot;%1&quot;; it was saved as &quot;%2&quot;.</source>
        <translation>设备要求的文件名是“%1”，已保存为“%2”。</translation>
    </message>
    <message>
        <source>A file of that name already existed, so this one was saved as &quot;%1&quot;.</source>
        <translation>同名文件已存在，因此保存为“%1”。</translation>
    </message>
    <message>
        <source>What arrived was kept as &quot;%1&quot;.</source>
        <translation>已收到的部分保存为“%1”。</translation>
    </message>
    <message>
        <source>Receiving with %1</source>
        <translation>正在用 %1 接收</translation>
    </message>
    <message>
        <source>Sending %1 (%2, %3 bytes)</source>
        <translation>正在发送 %1（%2，%3 字节）</translation>
    </message>
    <message>
        <source>(unnamed)</source>
        <translation>（未命名）</translation>
    </message>
    <message>
        <source>Transfer complete: %1 bytes in %2 s, %3 KB/s, %4 retries</source>
        <translation>传输完成：%1 字节，用时 %2 秒，%3 KB/秒，%4 次重试</translation>
    </message>
    <message>
        <source>Transfer failed: %1</source>
        <translation>传输失败：%1</translation>
    </message>
    <message>
        <source> (%1% transferred)</source>
        <translation>（已传输 %1%）</translation>
    </message>
    <message>
        <source>Cancelled.</source>
        <translation>已取消。</translation>
    </message>
    <message>
        <source>Cancelled. The device may still have received up to one more block of data -- if this was a firmware update, run the whole update again.</source>
        <translation>已取消。设备可能还会收到至多一个数据块；如果这是固件更新，请重新执行整个更新。</translation>
    </message>
</context>
<context>
    <name>FindBar</name>
    <message>
        <source>Find in received data</source>
        <translation>在接收数据中查找</translation>
    </message>
    <message>
        <source>%1 of %2</source>
        <translation>第 %1 项，共 %2 项</translation>
    </message>
    <message>
        <source>Previous match (Shift+Enter)</source>
        <translation>上一个匹配（Shift+Enter）</translation>
    </message>
    <message>
        <source>Previous match</source>
        <translation>上一个匹配</translation>
    </message>
    <message>
        <source>Next match (Enter)</source>
        <translation>下一个匹配（Enter）</translation>
    </message>
    <message>
        <source>Next match</source>
        <translation>下一个匹配</translation>
    </message>
    <message>
        <source>Match case</source>
        <translation>区分大小写</translation>
    </message>
    <message>
        <source>Regular expression</source>
        <translation>正则表达式</translation>
    </message>
    <message>
        <source>Close (Esc)</source>
        <translation>关闭（Esc）</translation>
    </message>
    <message>
        <source>Close find bar</source>
        <translation>关闭查找栏</translation>
    </message>
    <message>
        <source>Searching...</source>
        <translation>正在查找...</translation>
    </message>
    <message>
        <source>No matches</source>
        <translation>没有匹配</translation>
    </message>
    <message>
        <source>more than %1</source>
        <translation>超过 %1</translation>
    </message>
    <message>
        <source>1 match</source>
        <translation>1 个匹配</translation>
    </message>
    <message>
        <source>%1 matches</source>
        <translation>%1 个匹配</translation>
    </message>
</context>
<context>
    <name>FormatRow</name>
    <message>
        <source>Text</source>
        <translation>文本</translation>
    </message>
    <message>
        <source>Hex</source>
        <translation>十六进制</translation>
    </message>
</context>
<context>
    <name>ForwardedView</name>
    <message>
        <source>%1 that passed a bridge are not shown.</source>
        <translation>经过桥接的 %1 未显示。</translation>
    </message>
    <message>
        <source>More than %1 a second pass a bridge: they are not shown.</source>
        <translation>每秒经过桥接的数据超过 %1：不予显示。</translation>
    </message>
</context>
<context>
    <name>GeneralPage</name>
    <message>
        <source>&amp;Restore the last connection at start</source>
        <translation>启动时恢复上次连接(&amp;R)</translation>
    </message>
    <message>
        <source>R&amp;econnect automatically</source>
        <translation>自动重连(&amp;E)</translation>
    </message>
    <message>
        <source>Restore the connection that was open at last exit</source>
        <translation>恢复上次退出时打开的连接</translation>
    </message>
    <message>
        <source>Reconnect after a serial unplug or the loss of a TCP connection</source>
        <translation>串口拔出或 TCP 连接断开后重连</translation>
    </message>
    <message>
        <source>As the system</source>
        <translation>跟随系统</translation>
    </message>
    <message>
        <source>English</source>
        <translation>英文</translation>
    </message>
    <message>
        <source>Chinese</source>
        <translation>中文</translation>
    </message>
    <message>
        <source>&amp;Language</source>
        <translation>语言(&amp;L)</translation>
    </message>
    <message>
        <source>Another language takes effect when the program is restarted.</source>
        <translation>更改语言将在程序重新启动后生效。</translation>
    </message>
</context>
<context>
    <name>HexParser</name>
    <message>
        <source>Hex input must contain complete bytes.</source>
        <translation>十六进制输入必须由完整的字节组成。</translation>
    </message>
    <message>
        <source>Invalid hex character at position %1.</source>
        <translation>位置 %1 处的十六进制字符无效。</translation>
    </message>
</context>
<context>
    <name>HostBox</name>
    <message>
        <source>Hosts used so far; Delete removes the highlighted one from the list</source>
        <translation>用过的主机；按 Delete 从列表中移除高亮的一项</translation>
    </message>
    <message>
        <source>Host name or address</source>
        <translation>主机名或地址</translation>
    </message>
    <message>
        <source>Remove %1 from the List</source>
        <translation>从列表中移除 %1</translation>
    </message>
</context>
<context>
    <name>HostResolver</name>
    <message>
        <source>it has no IPv4 address</source>
        <translation>该主机没有 IPv4 地址</translation>
    </message>
</context>
<context>
    <name>LineDriver</name>
    <message>
        <source>high</source>
        <translation>高电平</translation>
    </message>
    <message>
        <source>low</source>
        <translation>低电平</translation>
    </message>
    <message>
        <source>%1, not confirmed</source>
        <translation>%1，未确认</translation>
    </message>
    <message>
        <source>driven by flow control</source>
        <translation>由流控驱动</translation>
    </message>
    <message>
        <source>%1 when the port opens</source>
        <translation>打开端口时为%1</translation>
    </message>
    <message>
        <source>not known: the port does not tell</source>
        <translation>未知：端口不报告</translation>
    </message>
    <message>
        <source>Break is being sent</source>
        <translation>正在发送 Break</translation>
    </message>
</context>
<context>
    <name>LineStrip</name>
    <message>
        <source>Control lines</source>
        <translation>控制线</translation>
    </message>
</context>
<context>
    <name>LivePort</name>
    <message>
        <source>Paused</source>
        <translation>已暂停</translation>
    </message>
    <message>
        <source>Several TCP clients are connected: nothing was sent. Choose whom to send to</source>
        <translation>已连接多个 TCP 客户端：未发送任何数据。请选择发送对象</translation>
    </message>
    <message>
        <source>The chosen TCP client is gone: nothing was sent. Choose whom to send to</source>
        <translation>所选的 TCP 客户端已离开：未发送任何数据。请重新选择发送对象</translation>
    </message>
    <message>
        <source>The connection is not open.</source>
        <translation>连接未打开。</translation>
    </message>
</context>
<context>
    <name>LocalLineDriver</name>
    <message>
        <source>RTS is driven by RTS/CTS flow control and cannot be set by hand.</source>
        <translation>RTS 由 RTS/CTS 流控驱动，不能手动设置。</translation>
    </message>
    <message>
        <source>Click to send a serial break (hold for longer)</source>
        <translation>点击发送串口 Break（按住可延长）</translation>
    </message>
</context>
<context>
    <name>LogActions</name>
    <message>
        <source>Current log file does not exist.</source>
        <translation>当前日志文件不存在。</translation>
    </message>
    <message>
        <source>Could not open current log file.</source>
        <translation>无法打开当前日志文件。</translation>
    </message>
    <message>
        <source>Current log folder does not exist.</source>
        <translation>当前日志文件夹不存在。</translation>
    </message>
    <message>
        <source>Could not open the folder %1.</source>
        <translation>无法打开文件夹 %1。</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>警告</translation>
    </message>
</context>
<context>
    <name>LogPage</name>
    <message>
        <source>&amp;Log Recording</source>
        <translation>记录日志(&amp;L)</translation>
    </message>
    <message>
        <source>&amp;Begin every line with a time stamp</source>
        <translation>每行以时间戳开头(&amp;B)</translation>
    </message>
    <message>
        <source>Start a new file when it is lar&amp;ger than</source>
        <translation>文件超过此大小时新建文件(&amp;G)</translation>
    </message>
    <message>
        <source>Start a new file every &amp;day at</source>
        <translation>每天在此时间新建文件(&amp;D)</translation>
    </message>
    <message>
        <source>&amp;Write the time into the log every hour</source>
        <translation>每小时在日志中写入时间(&amp;W)</translation>
    </message>
    <message>
        <source>Record all messages of this port in a log file</source>
        <translation>将此端口的所有数据记录到日志文件</translation>
    </message>
    <message>
        <source> MB</source>
        <translation> MB</translation>
    </message>
    <message>
        <source>Largest size of a log file in megabytes</source>
        <translation>日志文件的最大大小（兆字节）</translation>
    </message>
    <message>
        <source>Time of day at which a new log file is started</source>
        <translation>每天新建日志文件的时间</translation>
    </message>
    <message>
        <source>Log files are always written as UTF-8.</source>
        <translation>日志文件始终以 UTF-8 写入。</translation>
    </message>
    <message>
        <source>Fold&amp;er...</source>
        <translation>文件夹(&amp;E)...</translation>
    </message>
    <message>
        <source>Choose the folder of the log files</source>
        <translation>选择日志文件所在的文件夹</translation>
    </message>
    <message>
        <source>Log &amp;File</source>
        <translation>日志文件(&amp;F)</translation>
    </message>
    <message>
        <source>%S session name, %Y year, %y year in two digits, %M month, %D day, %h hour, %m minute, %s second, %z millisecond</source>
        <translation>%S 会话名，%Y 年，%y 两位年，%M 月，%D 日，%h 时，%m 分，%s 秒，%z 毫秒</translation>
    </message>
    <message>
        <source>&amp;Time Stamp</source>
        <translation>时间戳(&amp;T)</translation>
    </message>
    <message>
        <source>Enter a pattern, for example %1</source>
        <translation>请输入模式，例如 %1</translation>
    </message>
    <message>
        <source>(must use %D in log file name)</source>
        <translation>（日志文件名中必须使用 %D）</translation>
    </message>
    <message>
        <source>%1 is a folder. Add a file name.</source>
        <translation>%1 是文件夹。请加上文件名。</translation>
    </message>
    <message>
        <source>Now: %1</source>
        <translation>当前：%1</translation>
    </message>
    <message>
        <source>Now: %1 (the folder will be created)</source>
        <translation>当前：%1（将创建该文件夹）</translation>
    </message>
    <message>
        <source>Folder of Log Files</source>
        <translation>日志文件夹</translation>
    </message>
</context>
<context>
    <name>LogRotation</name>
    <message>
        <source>Could not rotate log file &apos;%1&apos;: %2</source>
        <translation>无法轮转日志文件“%1”：%2</translation>
    </message>
</context>
<context>
    <name>LogWriter</name>
    <message>
        <source>Please input correct log file name!</source>
        <translation>请输入正确的日志文件名！</translation>
    </message>
    <message>
        <source>Log path is a directory, not a file: %1</source>
        <translation>日志路径是文件夹，不是文件：%1</translation>
    </message>
    <message>
        <source>Could not open log file &apos;%1&apos;: %2</source>
        <translation>无法打开日志文件“%1”：%2</translation>
    </message>
    <message>
        <source>Could not create log directory &apos;%1&apos;</source>
        <translation>无法创建日志文件夹“%1”</translation>
    </message>
    <message>
        <source>it is a pipe</source>
        <translation>它是管道</translation>
    </message>
    <message>
        <source>Could not write log file &apos;%1&apos;: %2</source>
        <translation>无法写入日志文件“%1”：%2</translation>
    </message>
</context>
<context>
    <name>MainActions</name>
    <message>
        <source>G&amp;o to Port</source>
        <translation>转到端口(&amp;O)</translation>
    </message>
    <message>
        <source>&amp;Maximize Port</source>
        <translation>最大化端口(&amp;M)</translation>
    </message>
    <message>
        <source>Give all of the window to the port that has the keyboard, and back</source>
        <translation>让当前端口占满整个窗口，再次选择则恢复</translation>
    </message>
    <message>
        <source>To the &amp;Left</source>
        <translation>左侧(&amp;L)</translation>
    </message>
    <message>
        <source>To the &amp;Right</source>
        <translation>右侧(&amp;R)</translation>
    </message>
    <message>
        <source>&amp;Above</source>
        <translation>上方(&amp;A)</translation>
    </message>
    <message>
        <source>&amp;Below</source>
        <translation>下方(&amp;B)</translation>
    </message>
    <message>
        <source>Port &amp;%1</source>
        <translation>端口 &amp;%1</translation>
    </message>
    <message>
        <source>&amp;Remove from List</source>
        <translation>从列表中移除(&amp;R)</translation>
    </message>
    <message>
        <source>&amp;File</source>
        <translation>文件(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;Connection</source>
        <translation>连接(&amp;C)</translation>
    </message>
    <message>
        <source>&amp;View</source>
        <translation>视图(&amp;V)</translation>
    </message>
    <message>
        <source>&amp;Tools</source>
        <translation>工具(&amp;T)</translation>
    </message>
    <message>
        <source>Cl&amp;oud</source>
        <translation>云(&amp;O)</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>语言</translation>
    </message>
    <message>
        <source>&amp;Help</source>
        <translation>帮助(&amp;H)</translation>
    </message>
    <message>
        <source>&amp;Debug</source>
        <translation>调试(&amp;D)</translation>
    </message>
    <message>
        <source>&amp;New...</source>
        <translation>新建(&amp;N)...</translation>
    </message>
    <message>
        <source>&amp;Open Settings...</source>
        <translation>打开设置(&amp;O)...</translation>
    </message>
    <message>
        <source>&amp;Save Settings...</source>
        <translation>保存设置(&amp;S)...</translation>
    </message>
    <message>
        <source>Save current config</source>
        <translation>保存当前配置</translation>
    </message>
    <message>
        <source>Save Settings &amp;As...</source>
        <translation>设置另存为(&amp;A)...</translation>
    </message>
    <message>
        <source>Save current settings as new file</source>
        <translation>将当前设置保存为新文件</translation>
    </message>
    <message>
        <source>&amp;Log Recording</source>
        <translation>记录日志(&amp;L)</translation>
    </message>
    <message>
        <source>Record all port messages as log files</source>
        <translation>将所有端口的数据记录到日志文件</translation>
    </message>
    <message>
        <source>&amp;View Current Data Log</source>
        <translation>查看当前数据日志(&amp;V)</translation>
    </message>
    <message>
        <source>Open Log &amp;Folder</source>
        <translation>打开日志文件夹(&amp;F)</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>退出(&amp;X)</translation>
    </message>
    <message>
        <source>&amp;New Connection</source>
        <translation>新建连接(&amp;N)</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>开始(&amp;S)</translation>
    </message>
    <message>
        <source>Open the connection, or go on after a pause</source>
        <translation>打开连接，或在暂停后继续</translation>
    </message>
    <message>
        <source>&amp;Pause</source>
        <translation>暂停(&amp;P)</translation>
    </message>
    <message>
        <source>Hold the display; what arrives is kept for later</source>
        <translation>暂停显示，收到的数据会保留</translation>
    </message>
    <message>
        <source>S&amp;top</source>
        <translation>停止(&amp;T)</translation>
    </message>
    <message>
        <source>Close the connection</source>
        <translation>关闭连接</translation>
    </message>
    <message>
        <source>&amp;Clear All Displays</source>
        <translation>清空所有显示(&amp;C)</translation>
    </message>
    <message>
        <source>Clear the receive views and their counters</source>
        <translation>清空接收区及其计数</translation>
    </message>
    <message>
        <source>Clear</source>
        <translation>清空</translation>
    </message>
    <message>
        <source>Clear All Send &amp;Histories</source>
        <translation>清空所有发送历史(&amp;H)</translation>
    </message>
    <message>
        <source>Forget what was sent before, in every pane</source>
        <translation>清除每个窗格的发送记录</translation>
    </message>
    <message>
        <source>&amp;Find...</source>
        <translation>查找(&amp;F)...</translation>
    </message>
    <message>
        <source>Find text in the receive view</source>
        <translation>在接收区中查找文本</translation>
    </message>
    <message>
        <source>&amp;Add Port</source>
        <translation>添加端口(&amp;A)</translation>
    </message>
    <message>
        <source>&amp;Remove Port</source>
        <translation>移除端口(&amp;R)</translation>
    </message>
    <message>
        <source>Auto Restore &amp;Last Connection</source>
        <translation>自动恢复上次连接(&amp;L)</translation>
    </message>
    <message>
        <source>Restore the connection that was open at last exit</source>
        <translation>恢复上次退出时打开的连接</translation>
    </message>
    <message>
        <source>Auto R&amp;econnect</source>
        <translation>自动重连(&amp;E)</translation>
    </message>
    <message>
        <source>Automatically reconnect after a serial unplug or TCP connection loss</source>
        <translation>串口拔出或 TCP 连接断开后自动重连</translation>
    </message>
    <message>
        <source>&amp;Horizontal</source>
        <translation>水平排列(&amp;H)</translation>
    </message>
    <message>
        <source>&amp;Vertical</source>
        <translation>垂直排列(&amp;V)</translation>
    </message>
    <message>
        <source>&amp;Grid</source>
        <translation>网格排列(&amp;G)</translation>
    </message>
    <message>
        <source>&amp;Custom</source>
        <translation>自定义(&amp;C)</translation>
    </message>
    <message>
        <source>Close &amp;Quick Settings</source>
        <translation>关闭快捷设置(&amp;Q)</translation>
    </message>
    <message>
        <source>Show or hide the column of quick settings</source>
        <translation>显示或隐藏快捷设置栏</translation>
    </message>
    <message>
        <source>Always On &amp;Top</source>
        <translation>窗口置顶(&amp;T)</translation>
    </message>
    <message>
        <source>Keep the window above others</source>
        <translation>使窗口保持在其他窗口之上</translation>
    </message>
    <message>
        <source>&amp;Settings...</source>
        <translation>设置(&amp;S)...</translation>
    </message>
    <message>
        <source>&amp;Toolbox...</source>
        <translation>工具箱(&amp;T)...</translation>
    </message>
    <message>
        <source>&amp;ASCII Code...</source>
        <translation>ASCII 码表(&amp;A)...</translation>
    </message>
    <message>
        <source>&amp;Modbus Request Builder...</source>
        <translation>Modbus 请求生成器(&amp;M)...</translation>
    </message>
    <message>
        <source>&amp;Bridges...</source>
        <translation>桥接(&amp;B)...</translation>
    </message>
    <message>
        <source>Forward data between two ports (network to serial gateway)</source>
        <translation>在两个端口之间转发数据（网络到串口网关）</translation>
    </message>
    <message>
        <source>S&amp;end File...</source>
        <translation>发送文件(&amp;E)...</translation>
    </message>
    <message>
        <source>Send a file to the device with XMODEM or YMODEM</source>
        <translation>用 XMODEM 或 YMODEM 向设备发送文件</translation>
    </message>
    <message>
        <source>&amp;Receive File...</source>
        <translation>接收文件(&amp;R)...</translation>
    </message>
    <message>
        <source>Receive a file from the device with XMODEM or YMODEM</source>
        <translation>用 XMODEM 或 YMODEM 从设备接收文件</translation>
    </message>
    <message>
        <source>&amp;Cancel Transfer</source>
        <translation>取消传输(&amp;C)</translation>
    </message>
    <message>
        <source>&amp;Cloud Console</source>
        <translation>云控制台(&amp;C)</translation>
    </message>
    <message>
        <source>Allow Remote &amp;Send</source>
        <translation>允许远程发送(&amp;S)</translation>
    </message>
    <message>
        <source>Allow Remote &amp;Port Control</source>
        <translation>允许远程控制端口(&amp;P)</translation>
    </message>
    <message>
        <source>Allow Cloud &amp;Relay</source>
        <translation>允许云中继(&amp;R)</translation>
    </message>
    <message>
        <source>Sign &amp;In...</source>
        <translation>登录(&amp;I)...</translation>
    </message>
    <message>
        <source>&amp;My Account</source>
        <translation>我的账户(&amp;M)</translation>
    </message>
    <message>
        <source>Sync &amp;Now</source>
        <translation>立即同步(&amp;N)</translation>
    </message>
    <message>
        <source>Sync Se&amp;ttings...</source>
        <translation>同步设置(&amp;T)...</translation>
    </message>
    <message>
        <source>Sign &amp;Out</source>
        <translation>退出登录(&amp;O)</translation>
    </message>
    <message>
        <source>&amp;English</source>
        <translation>英文(&amp;E)</translation>
    </message>
    <message>
        <source>&amp;Chinese</source>
        <translation>中文(&amp;C)</translation>
    </message>
    <message>
        <source>Open the help page in the browser</source>
        <translation>在浏览器中打开帮助页面</translation>
    </message>
    <message>
        <source>Home&amp;page</source>
        <translation>主页(&amp;P)</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>在浏览器中打开主页</translation>
    </message>
    <message>
        <source>&amp;About</source>
        <translation>关于(&amp;A)</translation>
    </message>
    <message>
        <source>Version and licences</source>
        <translation>版本与许可</translation>
    </message>
    <message>
        <source>&amp;Suspend Port List Refresh</source>
        <translation>暂停刷新端口列表(&amp;S)</translation>
    </message>
    <message>
        <source>Do not look for serial ports that come and go</source>
        <translation>不再检测串口的插入与拔出</translation>
    </message>
    <message>
        <source>Open &amp;Quick Settings</source>
        <translation>打开快捷设置(&amp;Q)</translation>
    </message>
    <message>
        <source>Begin with one port and default settings</source>
        <translation>以一个端口和默认设置重新开始</translation>
    </message>
    <message>
        <source>Open the ports and settings of a file</source>
        <translation>打开文件中的端口和设置</translation>
    </message>
    <message>
        <source>Choose a port or an address and open it</source>
        <translation>选择端口或地址并打开</translation>
    </message>
    <message>
        <source>Show one more port beside the others</source>
        <translation>在其他端口旁再显示一个端口</translation>
    </message>
    <message>
        <source>Close the last port and take it away</source>
        <translation>关闭并移除最后一个端口</translation>
    </message>
    <message>
        <source>All ports side by side</source>
        <translation>所有端口并排显示</translation>
    </message>
    <message>
        <source>The ports one above the other</source>
        <translation>端口上下排列</translation>
    </message>
    <message>
        <source>Two ports in a row</source>
        <translation>每行两个端口</translation>
    </message>
    <message>
        <source>Choose how many ports stand in a row</source>
        <translation>选择每行的端口数</translation>
    </message>
    <message>
        <source>&amp;Next Port</source>
        <translation>下一个端口(&amp;N)</translation>
    </message>
    <message>
        <source>Move the keyboard to the next port</source>
        <translation>将键盘焦点移到下一个端口</translation>
    </message>
    <message>
        <source>&amp;Previous Port</source>
        <translation>上一个端口(&amp;P)</translation>
    </message>
    <message>
        <source>Move the keyboard to the previous port</source>
        <translation>将键盘焦点移到上一个端口</translation>
    </message>
    <message>
        <source>Set up the port that has the keyboard, and the program</source>
        <translation>设置当前具有键盘焦点的端口和本程序</translation>
    </message>
    <message>
        <source>Not in this version yet</source>
        <translation>此版本尚未提供</translation>
    </message>
    <message>
        <source>Needs a signed-in account; not in this version yet</source>
        <translation>需要登录账户；此版本尚未提供</translation>
    </message>
</context>
<context>
    <name>MainStatusBar</name>
    <message>
        <source>Connection state</source>
        <translation>连接状态</translation>
    </message>
    <message>
        <source>Port and line settings</source>
        <translation>端口与线路参数</translation>
    </message>
    <message>
        <source>Message</source>
        <translation>消息</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Received bytes and rate</source>
        <translation>接收字节数与速率</translation>
    </message>
    <message>
        <source>Sent bytes and rate</source>
        <translation>发送字节数与速率</translation>
    </message>
    <message>
        <source>RX %1 B (%2)</source>
        <translation>RX %1 B（%2）</translation>
    </message>
    <message>
        <source>TX %1 B (%2)</source>
        <translation>TX %1 B（%2）</translation>
    </message>
    <message>
        <source>Progress of saving</source>
        <translation>保存进度</translation>
    </message>
    <message>
        <source>Saving...</source>
        <translation>正在保存...</translation>
    </message>
    <message>
        <source>Data log</source>
        <translation>数据日志</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Main Toolbar</source>
        <translation>主工具栏</translation>
    </message>
    <message>
        <source>&amp;Port:</source>
        <translation>端口(&amp;P)：</translation>
    </message>
    <message>
        <source>A terminal for serial ports and network byte streams.

Built with Qt %1. Icons: Breeze, GNU LGPL version 3 or later.</source>
        <translation>用于串口和网络字节流的终端。

使用 Qt %1 构建。图标：Breeze，GNU LGPL 第 3 版或更高版本。</translation>
    </message>
    <message>
        <source>Port Number = %1</source>
        <translation>端口数 = %1</translation>
    </message>
    <message>
        <source>The settings of the program could not be stored. At its next start they are as they were before.</source>
        <translation>程序设置无法保存。下次启动时仍为之前的设置。</translation>
    </message>
</context>
<context>
    <name>Modbus</name>
    <message>
        <source>Read Coils</source>
        <translation>读线圈</translation>
    </message>
    <message>
        <source>Read Discrete Inputs</source>
        <translation>读离散输入</translation>
    </message>
    <message>
        <source>Read Holding Registers</source>
        <translation>读保持寄存器</translation>
    </message>
    <message>
        <source>Read Input Registers</source>
        <translation>读输入寄存器</translation>
    </message>
    <message>
        <source>Write Single Coil</source>
        <translation>写单个线圈</translation>
    </message>
    <message>
        <source>Write Single Register</source>
        <translation>写单个寄存器</translation>
    </message>
    <message>
        <source>Read Exception Status</source>
        <translation>读异常状态</translation>
    </message>
    <message>
        <source>Diagnostics</source>
        <translation>诊断</translation>
    </message>
    <message>
        <source>Get Comm Event Counter</source>
        <translation>获取通信事件计数器</translation>
    </message>
    <message>
        <source>Get Comm Event Log</source>
        <translation>获取通信事件记录</translation>
    </message>
    <message>
        <source>Write Multiple Coils</source>
        <translation>写多个线圈</translation>
    </message>
    <message>
        <source>Write Multiple Registers</source>
        <translation>写多个寄存器</translation>
    </message>
    <message>
        <source>Report Server ID</source>
        <translation>报告服务器 ID</translation>
    </message>
    <message>
        <source>Read File Record</source>
        <translation>读文件记录</translation>
    </message>
    <message>
        <source>Write File Record</source>
        <translation>写文件记录</translation>
    </message>
    <message>
        <source>Mask Write Register</source>
        <translation>屏蔽写寄存器</translation>
    </message>
    <message>
        <source>Read/Write Multiple Registers</source>
        <translation>读/写多个寄存器</translation>
    </message>
    <message>
        <source>Read FIFO Queue</source>
        <translation>读 FIFO 队列</translation>
    </message>
    <message>
        <source>Encapsulated Interface Transport</source>
        <translation>封装接口传输</translation>
    </message>
    <message>
        <source>Illegal Function</source>
        <translation>非法功能</translation>
    </message>
    <message>
        <source>Illegal Data Address</source>
        <translation>非法数据地址</translation>
    </message>
    <message>
        <source>Illegal Data Value</source>
        <translation>非法数据值</translation>
    </message>
    <message>
        <source>Server Device Failure</source>
        <translation>服务器设备故障</translation>
    </message>
    <message>
        <source>Acknowledge</source>
        <translation>确认</translation>
    </message>
    <message>
        <source>Server Device Busy</source>
        <translation>服务器设备忙</translation>
    </message>
    <message>
        <source>Memory Parity Error</source>
        <translation>存储奇偶校验错误</translation>
    </message>
    <message>
        <source>Gateway Path Unavailable</source>
        <translation>网关路径不可用</translation>
    </message>
    <message>
        <source>Gateway Target Device Failed to Respond</source>
        <translation>网关目标设备未响应</translation>
    </message>
    <message>
        <source>Function 0x%1</source>
        <translation>功能 0x%1</translation>
    </message>
    <message>
        <source>Exception 0x%1</source>
        <translation>异常 0x%1</translation>
    </message>
</context>
<context>
    <name>ModbusAnswer</name>
    <message>
        <source>Answered in %1 ms</source>
        <translation>%1 毫秒后收到应答</translation>
    </message>
    <message>
        <source>Exception %1: %2</source>
        <translation>异常 %1：%2</translation>
    </message>
    <message>
        <source>Wrong checksum in the answer</source>
        <translation>应答的校验和错误</translation>
    </message>
    <message>
        <source>The answer does not fit what was asked for</source>
        <translation>应答与请求不符</translation>
    </message>
    <message>
        <source>Unit %1 answered instead</source>
        <translation>应答来自单元 %1</translation>
    </message>
    <message>
        <source>Answer to another function: %1</source>
        <translation>应答属于另一功能：%1</translation>
    </message>
    <message>
        <source>No answer among the bytes received</source>
        <translation>收到的字节中没有应答</translation>
    </message>
    <message>
        <source>No answer within %1 ms</source>
        <translation>%1 毫秒内没有应答</translation>
    </message>
    <message>
        <source>Sent to all units; none of them answers</source>
        <translation>已发送给所有单元；广播没有应答</translation>
    </message>
</context>
<context>
    <name>ModbusBuilder</name>
    <message>
        <source>The request was changed: no longer repeated</source>
        <translation>请求已更改：停止重复</translation>
    </message>
    <message>
        <source>As it stands it cannot be sent: see the marked field</source>
        <translation>目前无法发送：请看标出的栏</translation>
    </message>
    <message>
        <source>Give the request a name to keep it</source>
        <translation>要保存请求，请先为它命名</translation>
    </message>
    <message>
        <source>Stop polling first: the list stands still meanwhile</source>
        <translation>请先停止轮询：轮询时列表不能更改</translation>
    </message>
    <message>
        <source>No more than %1 requests can be kept</source>
        <translation>最多可保存 %1 个请求</translation>
    </message>
    <message>
        <source>Kept as &quot;%1&quot;, in the poll list</source>
        <translation>已保存为“%1”，在轮询列表中</translation>
    </message>
    <message>
        <source>Not sent: %1</source>
        <translation>未发送：%1</translation>
    </message>
    <message>
        <source>Nothing in the list can be sent</source>
        <translation>列表中没有可发送的请求</translation>
    </message>
    <message>
        <source>Waiting for the answer</source>
        <translation>等待应答</translation>
    </message>
    <message>
        <source>Stopped</source>
        <translation>已停止</translation>
    </message>
    <message>
        <source>The port is gone</source>
        <translation>端口已不存在</translation>
    </message>
    <message>
        <source>Nothing was sent</source>
        <translation>未发送任何数据</translation>
    </message>
    <message>
        <source>Nothing was sent: %1</source>
        <translation>未发送任何数据：%1</translation>
    </message>
    <message>
        <source>&amp;Stop</source>
        <translation>停止(&amp;S)</translation>
    </message>
    <message>
        <source>&amp;Send Repeatedly</source>
        <translation>重复发送(&amp;S)</translation>
    </message>
    <message>
        <source>&amp;Send</source>
        <translation>发送(&amp;S)</translation>
    </message>
    <message>
        <source>No port</source>
        <translation>没有端口</translation>
    </message>
    <message>
        <source>the next request waits for it</source>
        <translation>下一个请求正在等待端口</translation>
    </message>
    <message>
        <source>goes on there until it is stopped</source>
        <translation>在该端口上继续，直到停止</translation>
    </message>
    <message>
        <source>sending opens it</source>
        <translation>发送时打开</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> 毫秒</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>打开(&amp;O)</translation>
    </message>
    <message>
        <source>&amp;Keep</source>
        <translation>保存(&amp;K)</translation>
    </message>
    <message>
        <source>&amp;RTU</source>
        <translation>&amp;RTU</translation>
    </message>
    <message>
        <source>T&amp;CP</source>
        <translation>T&amp;CP</translation>
    </message>
    <message>
        <source>RTU frame</source>
        <translation>RTU 帧</translation>
    </message>
    <message>
        <source>TCP frame</source>
        <translation>TCP 帧</translation>
    </message>
    <message>
        <source>&amp;Insert into Send Editor</source>
        <translation>插入到发送区(&amp;I)</translation>
    </message>
    <message>
        <source>Repeat &amp;every</source>
        <translation>重复间隔(&amp;E)</translation>
    </message>
    <message>
        <source>Frame of the answer</source>
        <translation>应答帧</translation>
    </message>
    <message>
        <source>Modbus Request Builder</source>
        <translation>Modbus 请求生成器</translation>
    </message>
    <message>
        <source>Re&amp;quest</source>
        <translation>请求(&amp;Q)</translation>
    </message>
    <message>
        <source>Poll &amp;List</source>
        <translation>轮询列表(&amp;L)</translation>
    </message>
    <message>
        <source>Request</source>
        <translation>请求</translation>
    </message>
    <message>
        <source>To keep the request</source>
        <translation>用于保存请求</translation>
    </message>
    <message>
        <source>Keep the request under its name, in the poll list</source>
        <translation>以此名称把请求保存到轮询列表</translation>
    </message>
    <message>
        <source>Edit a request that was kept</source>
        <translation>编辑已保存的请求</translation>
    </message>
    <message>
        <source>&amp;Name</source>
        <translation>名称(&amp;N)</translation>
    </message>
    <message>
        <source>Answer</source>
        <translation>应答</translation>
    </message>
    <message>
        <source>Values of the answer</source>
        <translation>应答的值</translation>
    </message>
    <message>
        <source>On the wire</source>
        <translation>线路上</translation>
    </message>
    <message>
        <source>Sent as Modbus RTU: unit, function, data and CRC-16</source>
        <translation>按 Modbus RTU 发送：单元、功能、数据和 CRC-16</translation>
    </message>
    <message>
        <source>Sent as Modbus TCP: with a header, and a transaction number that counts up</source>
        <translation>按 Modbus TCP 发送：带报头，事务号递增</translation>
    </message>
    <message>
        <source>From one request to the next, when the answer has come</source>
        <translation>收到应答后，从一个请求到下一个请求的时间</translation>
    </message>
    <message>
        <source>Interval</source>
        <translation>间隔</translation>
    </message>
    <message>
        <source>Answer wit&amp;hin</source>
        <translation>应答时限(&amp;H)</translation>
    </message>
</context>
<context>
    <name>ModbusCodec</name>
    <message>
        <source>Slave ID must be between 0 and 247.</source>
        <translation>从站 ID 必须在 0 到 247 之间。</translation>
    </message>
    <message>
        <source>Write Single Coil needs exactly one value.</source>
        <translation>“写单个线圈”必须且只能有一个值。</translation>
    </message>
    <message>
        <source>Write Single Register needs exactly one value.</source>
        <translation>“写单个寄存器”必须且只能有一个值。</translation>
    </message>
    <message>
        <source>Unsupported function code 0x%1.</source>
        <translation>不支持的功能码 0x%1。</translation>
    </message>
    <message>
        <source>Coil count</source>
        <translation>线圈数量</translation>
    </message>
    <message>
        <source>Register count</source>
        <translation>寄存器数量</translation>
    </message>
    <message>
        <source>%1 must be between %2 and %3.</source>
        <translation>%1必须在 %2 到 %3 之间。</translation>
    </message>
    <message>
        <source>Address %1 plus count %2 exceeds the 65536 address space.</source>
        <translation>地址 %1 加数量 %2 超出 65536 的地址空间。</translation>
    </message>
    <message>
        <source>The number of values must be the quantity, %1.</source>
        <translation>值的个数必须等于数量 %1。</translation>
    </message>
</context>
<context>
    <name>ModbusForm</name>
    <message>
        <source>&amp;Function</source>
        <translation>功能(&amp;F)</translation>
    </message>
    <message>
        <source>&amp;Unit</source>
        <translation>单元(&amp;U)</translation>
    </message>
    <message>
        <source>&amp;Address</source>
        <translation>地址(&amp;A)</translation>
    </message>
    <message>
        <source>Quantit&amp;y</source>
        <translation>数量(&amp;Y)</translation>
    </message>
    <message>
        <source>&amp;Write from</source>
        <translation>写入起始(&amp;W)</translation>
    </message>
    <message>
        <source>&amp;Type</source>
        <translation>类型(&amp;T)</translation>
    </message>
    <message>
        <source>&amp;Values</source>
        <translation>值(&amp;V)</translation>
    </message>
    <message>
        <source>AN&amp;D mask</source>
        <translation>与屏蔽(&amp;D)</translation>
    </message>
    <message>
        <source>OR &amp;mask</source>
        <translation>或屏蔽(&amp;M)</translation>
    </message>
    <message>
        <source>&amp;PDU</source>
        <translation>&amp;PDU</translation>
    </message>
    <message>
        <source>Custom PDU</source>
        <translation>自定义 PDU</translation>
    </message>
    <message>
        <source>counted from 0</source>
        <translation>从 0 计数</translation>
    </message>
    <message>
        <source>counted from 1</source>
        <translation>从 1 计数</translation>
    </message>
    <message>
        <source>First address</source>
        <translation>首地址</translation>
    </message>
    <message>
        <source>On the wire addresses begin at 0. Manuals that count from 1 call that one 1.</source>
        <translation>线路上的地址从 0 开始。从 1 计数的手册把它称为 1。</translation>
    </message>
    <message>
        <source>ABCD (big-endian)</source>
        <translation>ABCD（大端）</translation>
    </message>
    <message>
        <source>CDAB (words swapped)</source>
        <translation>CDAB（字交换）</translation>
    </message>
    <message>
        <source>BADC (bytes swapped)</source>
        <translation>BADC（字节交换）</translation>
    </message>
    <message>
        <source>DCBA (little-endian)</source>
        <translation>DCBA（小端）</translation>
    </message>
    <message>
        <source>Order of words and bytes</source>
        <translation>字和字节的顺序</translation>
    </message>
    <message>
        <source>In which order the bytes of a 32-bit value, A the highest, are sent</source>
        <translation>32 位值的各字节按什么顺序发送，A 为最高字节</translation>
    </message>
    <message>
        <source>1 0 1, or on off on</source>
        <translation>1 0 1，或 on off on</translation>
    </message>
    <message>
        <source>Numbers, hexadecimal with 0x</source>
        <translation>数值，十六进制以 0x 开头</translation>
    </message>
    <message>
        <source>Function code and data in hexadecimal</source>
        <translation>十六进制的功能码和数据</translation>
    </message>
    <message>
        <source>on the wire %1</source>
        <translation>线路上为 %1</translation>
    </message>
    <message>
        <source>16-bit unsigned</source>
        <translation>16 位无符号</translation>
    </message>
    <message>
        <source>16-bit signed</source>
        <translation>16 位有符号</translation>
    </message>
    <message>
        <source>16-bit hexadecimal</source>
        <translation>16 位十六进制</translation>
    </message>
    <message>
        <source>32-bit unsigned</source>
        <translation>32 位无符号</translation>
    </message>
    <message>
        <source>32-bit signed</source>
        <translation>32 位有符号</translation>
    </message>
    <message>
        <source>32-bit float</source>
        <translation>32 位浮点</translation>
    </message>
    <message>
        <source>bits, 1 to %1</source>
        <translation>位，1 到 %1</translation>
    </message>
    <message>
        <source>registers, 1 to %1</source>
        <translation>寄存器，1 到 %1</translation>
    </message>
</context>
<context>
    <name>ModbusPollPage</name>
    <message>
        <source>&amp;Edit</source>
        <translation>编辑(&amp;E)</translation>
    </message>
    <message>
        <source>&amp;Up</source>
        <translation>上移(&amp;U)</translation>
    </message>
    <message>
        <source>&amp;Down</source>
        <translation>下移(&amp;D)</translation>
    </message>
    <message>
        <source>Re&amp;move</source>
        <translation>移除(&amp;M)</translation>
    </message>
    <message>
        <source>Name (checked: polled)</source>
        <translation>名称（勾选者轮询）</translation>
    </message>
    <message>
        <source>Request</source>
        <translation>请求</translation>
    </message>
    <message>
        <source>Kept requests</source>
        <translation>已保存的请求</translation>
    </message>
    <message>
        <source>Those with a mark are polled, from top to bottom</source>
        <translation>勾选的请求从上到下轮询</translation>
    </message>
    <message>
        <source>Values</source>
        <translation>值</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> 毫秒</translation>
    </message>
    <message>
        <source>A round e&amp;very</source>
        <translation>每轮间隔(&amp;V)</translation>
    </message>
    <message>
        <source>S&amp;top Polling</source>
        <translation>停止轮询(&amp;T)</translation>
    </message>
    <message>
        <source>S&amp;tart Polling</source>
        <translation>开始轮询(&amp;T)</translation>
    </message>
</context>
<context>
    <name>ModbusRequest</name>
    <message>
        <source>Write a number from %1 to %2.</source>
        <translation>请输入 %1 到 %2 之间的数值。</translation>
    </message>
    <message>
        <source>From here %1 do not fit: the last address on the wire is 65535.</source>
        <translation>从这里起放不下 %1 个：线路上的最后地址是 65535。</translation>
    </message>
    <message>
        <source>Write at least one value.</source>
        <translation>请至少输入一个值。</translation>
    </message>
    <message>
        <source>This function writes one coil or one 16-bit register only.</source>
        <translation>此功能只写一个线圈或一个 16 位寄存器。</translation>
    </message>
    <message>
        <source>%1 are too many, %2 at most.</source>
        <translation>%1 个太多，最多 %2 个。</translation>
    </message>
    <message>
        <source>Write the function code and what follows it, in hexadecimal.</source>
        <translation>请以十六进制输入功能码及其后的数据。</translation>
    </message>
    <message>
        <source>%1 bytes are too many, %2 at most.</source>
        <translation>%1 个字节太多，最多 %2 个。</translation>
    </message>
    <message>
        <source>Custom PDU</source>
        <translation>自定义 PDU</translation>
    </message>
    <message>
        <source>Unit %1, %2</source>
        <translation>单元 %1，%2</translation>
    </message>
    <message>
        <source>%1 written</source>
        <translation>已写入 %1 个</translation>
    </message>
</context>
<context>
    <name>ModbusTransactionsModel</name>
    <message>
        <source>OK</source>
        <translation>正常</translation>
    </message>
    <message>
        <source>Broadcast</source>
        <translation>广播</translation>
    </message>
    <message>
        <source>No answer</source>
        <translation>无应答</translation>
    </message>
    <message>
        <source>Not sent</source>
        <translation>未发出</translation>
    </message>
    <message>
        <source>Client left</source>
        <translation>客户端已离开</translation>
    </message>
    <message>
        <source>%1 ms</source>
        <translation>%1 毫秒</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
    <message>
        <source>Client</source>
        <translation>客户端</translation>
    </message>
    <message>
        <source>Unit</source>
        <translation>单元</translation>
    </message>
    <message>
        <source>Function</source>
        <translation>功能</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>地址</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>结果</translation>
    </message>
    <message>
        <source>Waited</source>
        <translation>等待</translation>
    </message>
    <message>
        <source>On the line</source>
        <translation>在线路上</translation>
    </message>
</context>
<context>
    <name>ModbusValueModel</name>
    <message>
        <source>Request</source>
        <translation>请求</translation>
    </message>
    <message>
        <source>Address (wire)</source>
        <translation>地址（线路）</translation>
    </message>
    <message>
        <source>Value</source>
        <translation>值</translation>
    </message>
    <message>
        <source>Raw</source>
        <translation>原始</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>结果</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>时间</translation>
    </message>
</context>
<context>
    <name>ModbusValues</name>
    <message>
        <source>&quot;%1&quot; is not a number.</source>
        <translation>“%1”不是数值。</translation>
    </message>
    <message>
        <source>%1 has more than %2 bits.</source>
        <translation>%1 超过 %2 位。</translation>
    </message>
    <message>
        <source>%1 is not between %2 and %3.</source>
        <translation>%1 不在 %2 到 %3 之间。</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is no coil: write 0 or 1, off or on.</source>
        <translation>“%1”不是线圈：请写 0 或 1，off 或 on。</translation>
    </message>
    <message>
        <source>on</source>
        <translation>开</translation>
    </message>
    <message>
        <source>off</source>
        <translation>关</translation>
    </message>
</context>
<context>
    <name>ModbusView</name>
    <message>
        <source>&amp;Pause</source>
        <translation>暂停(&amp;P)</translation>
    </message>
    <message>
        <source>Transactions</source>
        <translation>事务</translation>
    </message>
    <message>
        <source>Counters of clients and units</source>
        <translation>客户端和单元的计数</translation>
    </message>
    <message>
        <source>Client or unit</source>
        <translation>客户端或单元</translation>
    </message>
    <message>
        <source>Requests</source>
        <translation>请求</translation>
    </message>
    <message>
        <source>Errors</source>
        <translation>错误</translation>
    </message>
    <message>
        <source>Time-outs</source>
        <translation>超时</translation>
    </message>
    <message>
        <source>Median</source>
        <translation>中位数</translation>
    </message>
    <message>
        <source>99 % within</source>
        <translation>99 % 不超过</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>筛选</translation>
    </message>
    <message>
        <source>&amp;Save as CSV...</source>
        <translation>另存为 CSV(&amp;S)...</translation>
    </message>
    <message>
        <source>Unit %1</source>
        <translation>单元 %1</translation>
    </message>
    <message>
        <source>Save as CSV</source>
        <translation>另存为 CSV</translation>
    </message>
    <message>
        <source>CSV files (*.csv)</source>
        <translation>CSV 文件 (*.csv)</translation>
    </message>
    <message>
        <source>%1 could not be written.</source>
        <translation>无法写入 %1。</translation>
    </message>
</context>
<context>
    <name>MultiClientServer</name>
    <message>
        <source>not on the address allowlist</source>
        <translation>不在允许的地址列表中</translation>
    </message>
    <message>
        <source>the port already has a client (exclusive mode)</source>
        <translation>该端口已有一个客户端（独占模式）</translation>
    </message>
</context>
<context>
    <name>MultiPortSettingDlg</name>
    <message>
        <source>Add Port</source>
        <translation>添加端口</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>连接</translation>
    </message>
    <message>
        <source>Receive</source>
        <translation>接收</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>发送</translation>
    </message>
</context>
<context>
    <name>NewConnectionDialog</name>
    <message>
        <source>The current &amp;pane</source>
        <translation>当前窗格(&amp;P)</translation>
    </message>
    <message>
        <source>A &amp;new pane</source>
        <translation>新窗格(&amp;N)</translation>
    </message>
    <message>
        <source>New Connection</source>
        <translation>新建连接</translation>
    </message>
    <message>
        <source>A connection that is open there is closed first</source>
        <translation>若该处已有打开的连接，将先关闭</translation>
    </message>
    <message>
        <source>Adds a pane beside the others</source>
        <translation>在其他窗格旁添加一个窗格</translation>
    </message>
    <message>
        <source>There are as many panes as there can be</source>
        <translation>窗格数已达上限</translation>
    </message>
    <message>
        <source>Open in</source>
        <translation>打开位置</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>打开(&amp;O)</translation>
    </message>
</context>
<context>
    <name>NoticeBar</name>
    <message>
        <source>Error message</source>
        <translation>错误消息</translation>
    </message>
    <message>
        <source>Dismiss</source>
        <translation>关闭</translation>
    </message>
    <message>
        <source>Dismiss the error message</source>
        <translation>关闭错误消息</translation>
    </message>
</context>
<context>
    <name>PageStack</name>
    <message>
        <source>Pages</source>
        <translation>页面</translation>
    </message>
    <message>
        <source>%1: %2</source>
        <translation>%1：%2</translation>
    </message>
</context>
<context>
    <name>PaneCloser</name>
    <message>
        <source>Writing the data log</source>
        <translation>正在写入数据日志</translation>
    </message>
    <message>
        <source>Close &amp;anyway</source>
        <translation>仍然关闭(&amp;A)</translation>
    </message>
    <message>
        <source>The data log is being written.</source>
        <translation>正在写入数据日志。</translation>
    </message>
    <message>
        <source>%1 are left. Closing anyway leaves them out.</source>
        <translation>还剩 %1。仍然关闭将丢弃它们。</translation>
    </message>
    <message>
        <source>Port %1, %2: %3 would be missing in %4. %5</source>
        <translation>端口 %1，%2：%4 中将缺失 %3。%5</translation>
    </message>
    <message>
        <source>The data log could not be written. What it still has to write is lost when the port is closed here.</source>
        <translation>数据日志无法写入。如果现在关闭端口，尚未写入的内容将会丢失。</translation>
    </message>
    <message>
        <source>A file transfer is running. Closing ends it.</source>
        <translation>文件传输正在进行，关闭会使其终止。</translation>
    </message>
    <message>
        <source>If it updates the firmware of a device, the device may be left with an incomplete image.</source>
        <translation>如果正在更新设备固件，设备中的映像可能不完整。</translation>
    </message>
</context>
<context>
    <name>PaneDialogs</name>
    <message>
        <source>Port %1, %2</source>
        <translation>端口 %1，%2</translation>
    </message>
    <message>
        <source>A file transfer is running on this port: cancel it first.</source>
        <translation>此端口正在传输文件：请先取消。</translation>
    </message>
</context>
<context>
    <name>PaneFrame</name>
    <message>
        <source>Port %1: %2</source>
        <translation>端口 %1：%2</translation>
    </message>
    <message>
        <source>Close this port</source>
        <translation>关闭此端口</translation>
    </message>
    <message>
        <source>Open this port</source>
        <translation>打开此端口</translation>
    </message>
    <message>
        <source>Bridged with port %1</source>
        <translation>与端口 %1 桥接</translation>
    </message>
</context>
<context>
    <name>PaneStatusLine</name>
    <message>
        <source>Connection state</source>
        <translation>连接状态</translation>
    </message>
    <message>
        <source>%1 - %2</source>
        <translation>%1 - %2</translation>
    </message>
    <message>
        <source>⚠ Log</source>
        <translation>⚠ 日志</translation>
    </message>
    <message>
        <source>● Log</source>
        <translation>● 日志</translation>
    </message>
    <message>
        <source>the file gets its name with the first data</source>
        <translation>收到首批数据时确定文件名</translation>
    </message>
    <message>
        <source>Cannot be written: %1</source>
        <translation>无法写入：%1</translation>
    </message>
    <message>
        <source>Recording: %1</source>
        <translation>正在记录：%1</translation>
    </message>
    <message>
        <source>RX %1  TX %2</source>
        <translation>RX %1  TX %2</translation>
    </message>
</context>
<context>
    <name>PaneWorkspace</name>
    <message>
        <source>Set Port Number Per Column</source>
        <translation>设置每行端口数</translation>
    </message>
    <message>
        <source>Port Number Per Column:</source>
        <translation>每行端口数：</translation>
    </message>
    <message>
        <source>Serial Port %1 OPEN FAILED</source>
        <translation>串口 %1 打开失败</translation>
    </message>
    <message>
        <source>%1 OPEN FAILED</source>
        <translation>%1 打开失败</translation>
    </message>
    <message>
        <source>A file transfer is running on this port: cancel it first.</source>
        <translation>此端口正在传输文件：请先取消。</translation>
    </message>
</context>
<context>
    <name>PanelChoices</name>
    <message>
        <source>Serial Port</source>
        <translation>串口</translation>
    </message>
    <message>
        <source>TCP Server</source>
        <translation>TCP 服务器</translation>
    </message>
    <message>
        <source>TCP Client</source>
        <translation>TCP 客户端</translation>
    </message>
    <message>
        <source>UDP Server</source>
        <translation>UDP 服务器</translation>
    </message>
    <message>
        <source>UDP Client</source>
        <translation>UDP 客户端</translation>
    </message>
    <message>
        <source>Remote Serial (RFC 2217)</source>
        <translation>远程串口（RFC 2217）</translation>
    </message>
    <message>
        <source>Remote Serial (Cloud Relay)</source>
        <translation>远程串口（云中继）</translation>
    </message>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>Even</source>
        <translation>偶校验</translation>
    </message>
    <message>
        <source>Odd</source>
        <translation>奇校验</translation>
    </message>
    <message>
        <source>Mark</source>
        <translation>标记校验</translation>
    </message>
    <message>
        <source>Space</source>
        <translation>空格校验</translation>
    </message>
    <message>
        <source>RTS/CTS</source>
        <translation>RTS/CTS</translation>
    </message>
    <message>
        <source>XON/XOFF</source>
        <translation>XON/XOFF</translation>
    </message>
    <message>
        <source>ms</source>
        <translation>毫秒</translation>
    </message>
    <message>
        <source>s</source>
        <translation>秒</translation>
    </message>
    <message>
        <source>min</source>
        <translation>分钟</translation>
    </message>
    <message>
        <source>UDP Client (Type 6)</source>
        <translation>UDP 客户端（类型 6）</translation>
    </message>
    <message>
        <source>No Transport</source>
        <translation>无传输方式</translation>
    </message>
    <message>
        <source>These settings name no transport. Choose a type to connect.</source>
        <translation>这些设置未指定传输方式。请选择类型后再连接。</translation>
    </message>
    <message>
        <source>This program cannot open connections of this type. The settings are kept as they are; choose another type to connect.</source>
        <translation>本程序无法打开此类型的连接。设置保持原样；请选择其他类型进行连接。</translation>
    </message>
</context>
<context>
    <name>PeerListModel</name>
    <message>
        <source>Last sender</source>
        <translation>最近的发送方</translation>
    </message>
    <message>
        <source>All peers</source>
        <translation>所有对端</translation>
    </message>
    <message>
        <source>All clients</source>
        <translation>所有客户端</translation>
    </message>
    <message>
        <source>%1 (gone)</source>
        <translation>%1（已离开）</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>地址</translation>
    </message>
    <message>
        <source>Received</source>
        <translation>接收</translation>
    </message>
    <message>
        <source>Sent</source>
        <translation>发送</translation>
    </message>
    <message>
        <source>Last heard</source>
        <translation>最近收到</translation>
    </message>
    <message>
        <source>Last message</source>
        <translation>最近消息</translation>
    </message>
    <message>
        <source>The only client</source>
        <translation>唯一的客户端</translation>
    </message>
</context>
<context>
    <name>PeerPanel</name>
    <message>
        <source>Show or hide the list</source>
        <translation>显示或隐藏列表</translation>
    </message>
    <message>
        <source>Clients: %1</source>
        <translation>客户端：%1</translation>
    </message>
    <message>
        <source>Peers: %1</source>
        <translation>对端：%1</translation>
    </message>
    <message>
        <source>Clients of this port</source>
        <translation>此端口的客户端</translation>
    </message>
    <message>
        <source>Peers of this port</source>
        <translation>此端口的对端</translation>
    </message>
    <message>
        <source>Sending to: %1</source>
        <translation>发送到：%1</translation>
    </message>
    <message>
        <source>Closed: no client can connect</source>
        <translation>已关闭：客户端无法连接</translation>
    </message>
    <message>
        <source>Closed: no peer is heard</source>
        <translation>已关闭：不接收任何对端的数据</translation>
    </message>
    <message>
        <source>No client connected; listening on %1</source>
        <translation>没有客户端连接；正在监听 %1</translation>
    </message>
    <message>
        <source>No peer heard; listening on %1</source>
        <translation>尚未收到任何对端的数据；正在监听 %1</translation>
    </message>
    <message>
        <source>Copy Address</source>
        <translation>复制地址</translation>
    </message>
    <message>
        <source>Disconnect Client</source>
        <translation>断开客户端</translation>
    </message>
    <message>
        <source>Clear List</source>
        <translation>清空列表</translation>
    </message>
    <message>
        <source>Sending to: %1; listening on %2</source>
        <translation>发送到：%1；正在监听 %2</translation>
    </message>
</context>
<context>
    <name>PortConnection</name>
    <message>
        <source>Serial Port %1 lost, waiting for it to come back...</source>
        <translation>串口 %1 丢失，等待其恢复...</translation>
    </message>
    <message>
        <source>Connection lost, reconnecting...</source>
        <translation>连接断开，正在重连...</translation>
    </message>
    <message>
        <source>The connection type of this pane is not available in this version. Choose another one.</source>
        <translation>此版本不支持该窗格的连接类型。请选择其他类型。</translation>
    </message>
    <message>
        <source>No serial port is chosen. Choose one and open it again.</source>
        <translation>未选择串口。请选择串口后重新打开。</translation>
    </message>
    <message>
        <source>No host is given. Enter the name or address of one and open it again.</source>
        <translation>未指定主机。请输入主机名或地址后重新打开。</translation>
    </message>
    <message>
        <source>TCP connection RESTORED</source>
        <translation>TCP 连接已恢复</translation>
    </message>
    <message>
        <source>Connecting...</source>
        <translation>正在连接...</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>已打开</translation>
    </message>
    <message>
        <source>Waiting for the port...</source>
        <translation>等待串口...</translation>
    </message>
    <message>
        <source>Reconnecting...</source>
        <translation>正在重连...</translation>
    </message>
    <message>
        <source>Closed</source>
        <translation>已关闭</translation>
    </message>
    <message>
        <source>Serial Port %1 ERROR: %2</source>
        <translation>串口 %1 错误：%2</translation>
    </message>
    <message>
        <source>Serial Port %1 is gone. Connect the device again and open the port.</source>
        <translation>串口 %1 已不存在。请重新连接设备并打开串口。</translation>
    </message>
    <message>
        <source>Reconnecting to %1:%2 ...</source>
        <translation>正在重连到 %1:%2 ...</translation>
    </message>
    <message>
        <source>Serial Port %1 RECONNECTED</source>
        <translation>串口 %1 已重新连接</translation>
    </message>
</context>
<context>
    <name>PortEndpoint</name>
    <message>
        <source>Port %1 (%2)</source>
        <translation>端口 %1（%2）</translation>
    </message>
    <message>
        <source>The connection is lost.</source>
        <translation>连接已断开。</translation>
    </message>
    <message>
        <source>A UDP datagram carries at most %1 bytes.</source>
        <translation>一个 UDP 数据报最多携带 %1 字节。</translation>
    </message>
    <message>
        <source>Nothing can be sent to %1:%2.</source>
        <translation>无法发送到 %1:%2。</translation>
    </message>
    <message>
        <source>Port %1</source>
        <translation>端口 %1</translation>
    </message>
</context>
<context>
    <name>PortLines</name>
    <message>
        <source>Control lines belong to a serial port. This connection does not have one.</source>
        <translation>控制线属于串口，此连接没有串口。</translation>
    </message>
</context>
<context>
    <name>PortLog</name>
    <message>
        <source>The data log could not be written for so long that the memory for its text is full. What comes now will be missing in the log. Make room on the disk or choose another log file.</source>
        <translation>数据日志长时间无法写入，暂存其文本的内存已满。此后的数据将不会出现在日志中。请腾出磁盘空间，或选择其他日志文件。</translation>
    </message>
    <message>
        <source>%1 of text for the data log %2 were given up: it could not be written for too long.</source>
        <translation>数据日志 %2 长时间无法写入，已放弃 %1 的文本。</translation>
    </message>
    <message>
        <source>The data log is not written. %1
The text is kept in memory (up to %2), and recording goes on by itself as soon as the file can be written.</source>
        <translation>数据日志未能写入。%1
文本暂存在内存中（最多 %2），文件可写入后将自动继续记录。</translation>
    </message>
    <message>
        <source>The data log is written again in %1, but %2 of text are missing. A line in the log says where.</source>
        <translation>数据日志已恢复写入 %1，但缺失 %2 的文本。日志中有一行标明缺失位置。</translation>
    </message>
    <message>
        <source>The data log is written again in %1</source>
        <translation>数据日志已恢复写入 %1</translation>
    </message>
</context>
<context>
    <name>PortNameBox</name>
    <message>
        <source>Choose or type a port</source>
        <translation>选择或输入串口</translation>
    </message>
</context>
<context>
    <name>PortSelector</name>
    <message>
        <source>Serial port of the first pane</source>
        <translation>第一个窗格的串口</translation>
    </message>
    <message>
        <source>Open another serial port in the first pane</source>
        <translation>在第一个窗格中打开另一个串口</translation>
    </message>
    <message>
        <source>No serial port</source>
        <translation>没有串口</translation>
    </message>
    <message>
        <source>Choose a port</source>
        <translation>选择串口</translation>
    </message>
</context>
<context>
    <name>PortTransfer</name>
    <message>
        <source>A file transfer is already running on this port.</source>
        <translation>此端口已有文件传输正在进行。</translation>
    </message>
    <message>
        <source>The connection is not open.</source>
        <translation>连接未打开。</translation>
    </message>
    <message>
        <source>File transfer needs an ordered, reliable connection. UDP cannot provide one.</source>
        <translation>文件传输需要有序、可靠的连接，UDP 无法提供。</translation>
    </message>
    <message>
        <source>This port is part of a bridge link. Remove the link before transferring a file.</source>
        <translation>此端口属于一个桥接。传输文件前请先移除桥接。</translation>
    </message>
    <message>
        <source>This port is in use by something else.</source>
        <translation>此端口正被其他功能使用。</translation>
    </message>
    <message>
        <source>The view is paused. Resume it before transferring a file.</source>
        <translation>视图已暂停。传输文件前请先恢复。</translation>
    </message>
    <message>
        <source>No client is connected yet.</source>
        <translation>尚无客户端连接。</translation>
    </message>
    <message>
        <source>The selected client is no longer connected.</source>
        <translation>所选客户端已断开。</translation>
    </message>
    <message>
        <source>Several clients are connected. Select the one to transfer with.</source>
        <translation>已连接多个客户端，请选择与哪一个传输。</translation>
    </message>
    <message>
        <source>YMODEM-G does not retransmit, so it needs hardware flow control (RTS/CTS). This connection has none.</source>
        <translation>YMODEM-G 不重传，因此需要硬件流控（RTS/CTS）。此连接没有流控。</translation>
    </message>
    <message>
        <source>A file transfer is using this port. Sending data now would corrupt it.</source>
        <translation>文件传输正在使用此端口。现在发送数据会破坏传输。</translation>
    </message>
    <message>
        <source>A file transfer is using this port. Changing the control lines would interrupt it.</source>
        <translation>文件传输正在使用此端口。改变控制线会中断传输。</translation>
    </message>
    <message>
        <source>A file transfer is running; the view cannot be paused.</source>
        <translation>文件传输正在进行，无法暂停视图。</translation>
    </message>
    <message>
        <source>A file transfer is using this port. The change takes effect when it is over.</source>
        <translation>文件传输正在使用此端口。更改将在传输结束后生效。</translation>
    </message>
</context>
<context>
    <name>ProgramOptions</name>
    <message>
        <source>The changes will take effect when the program is restarted.</source>
        <translation>更改将在程序重新启动后生效。</translation>
    </message>
    <message>
        <source>The choice is forgotten when the program ends: it could not be stored.</source>
        <translation>该选择无法保存，程序退出后将失效。</translation>
    </message>
</context>
<context>
    <name>QuickSettingsEditor</name>
    <message>
        <source>Move up</source>
        <translation>上移</translation>
    </message>
    <message>
        <source>Move down</source>
        <translation>下移</translation>
    </message>
    <message>
        <source>&amp;Groups and fields beside every terminal, in their order:</source>
        <translation>每个终端旁显示的分组和字段及其顺序(&amp;G)：</translation>
    </message>
    <message>
        <source>&amp;Restore Defaults</source>
        <translation>恢复默认(&amp;R)</translation>
    </message>
    <message>
        <source>Select at least one quick settings group to show.</source>
        <translation>请至少选择一个要显示的快捷设置分组。</translation>
    </message>
</context>
<context>
    <name>QuickSettingsGroups</name>
    <message>
        <source>Connection Settings</source>
        <translation>连接设置</translation>
    </message>
    <message>
        <source>Port and connection parameters</source>
        <translation>端口与连接参数</translation>
    </message>
    <message>
        <source>Receive Settings</source>
        <translation>接收设置</translation>
    </message>
    <message>
        <source>How received data is shown</source>
        <translation>接收数据的显示方式</translation>
    </message>
    <message>
        <source>Send Settings</source>
        <translation>发送设置</translation>
    </message>
    <message>
        <source>How data is sent</source>
        <translation>数据的发送方式</translation>
    </message>
    <message>
        <source>Baudrate</source>
        <translation>波特率</translation>
    </message>
    <message>
        <source>Serial transfer speed</source>
        <translation>串口传输速率</translation>
    </message>
    <message>
        <source>Data Bits</source>
        <translation>数据位</translation>
    </message>
    <message>
        <source>Data bits per frame</source>
        <translation>每帧的数据位</translation>
    </message>
    <message>
        <source>Flow Type</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>Flow control method</source>
        <translation>流控方式</translation>
    </message>
    <message>
        <source>Stop Bits</source>
        <translation>停止位</translation>
    </message>
    <message>
        <source>Stop bits per frame</source>
        <translation>每帧的停止位</translation>
    </message>
    <message>
        <source>Parity</source>
        <translation>校验位</translation>
    </message>
    <message>
        <source>Parity check mode</source>
        <translation>校验方式</translation>
    </message>
    <message>
        <source>Indicator Lights</source>
        <translation>指示灯</translation>
    </message>
    <message>
        <source>Show all TX/RX and control line indicators</source>
        <translation>显示所有 TX/RX 与控制线指示灯</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>格式</translation>
    </message>
    <message>
        <source>Show received data as text or hex, and the encoding to read it with</source>
        <translation>以文本或十六进制显示接收数据，以及所用的编码</translation>
    </message>
    <message>
        <source>Auto Line Feed</source>
        <translation>自动换行</translation>
    </message>
    <message>
        <source>Start a new line after an idle interval</source>
        <translation>空闲一段时间后换行</translation>
    </message>
    <message>
        <source>Display Time</source>
        <translation>显示时间</translation>
    </message>
    <message>
        <source>Prefix received data with a timestamp</source>
        <translation>在接收数据前加时间戳</translation>
    </message>
    <message>
        <source>Send the input as text or hex, and the encoding to send it with</source>
        <translation>以文本或十六进制发送输入内容，以及所用的编码</translation>
    </message>
    <message>
        <source>Loop Send</source>
        <translation>循环发送</translation>
    </message>
    <message>
        <source>Resend automatically at an interval</source>
        <translation>按间隔自动重复发送</translation>
    </message>
    <message>
        <source>Append Line Ending</source>
        <translation>追加换行符</translation>
    </message>
    <message>
        <source>Ending appended to each send</source>
        <translation>每次发送后追加的换行符</translation>
    </message>
    <message>
        <source>Enter Sends</source>
        <translation>回车键发送</translation>
    </message>
    <message>
        <source>Bytes sent when Enter is pressed in the receive terminal</source>
        <translation>在接收终端中按回车键时发送的字节</translation>
    </message>
    <message>
        <source>Append Checksum</source>
        <translation>追加校验</translation>
    </message>
    <message>
        <source>Checksum appended to each send</source>
        <translation>每次发送后追加的校验值</translation>
    </message>
    <message>
        <source>Display Send</source>
        <translation>显示发送</translation>
    </message>
    <message>
        <source>Echo sent data in the display</source>
        <translation>在显示区显示发送的数据</translation>
    </message>
    <message>
        <source>Local Echo</source>
        <translation>本地回显</translation>
    </message>
    <message>
        <source>Echo keys typed into the receive terminal</source>
        <translation>回显在接收终端中输入的字符</translation>
    </message>
    <message>
        <source>Line by Line</source>
        <translation>逐行发送</translation>
    </message>
    <message>
        <source>Send multi-line input line by line</source>
        <translation>将多行输入逐行发送</translation>
    </message>
</context>
<context>
    <name>ReceivePage</name>
    <message>
        <source>Enter a pattern, for example %1</source>
        <translation>请输入模式，例如 %1</translation>
    </message>
    <message>
        <source>Stamp of &amp;Received Data</source>
        <translation>接收数据时间戳(&amp;R)</translation>
    </message>
    <message>
        <source>Stamp of &amp;Sent Data</source>
        <translation>发送数据时间戳(&amp;S)</translation>
    </message>
    <message>
        <source>yyyy year, MM month, dd day, hh hour, mm minute, ss second, zzz millisecond; text between single quotes stays as it is</source>
        <translation>yyyy 年，MM 月，dd 日，hh 时，mm 分，ss 秒，zzz 毫秒；单引号内的文本保持原样</translation>
    </message>
    <message>
        <source>Now: %1 %2</source>
        <translation>当前：%1 %2</translation>
    </message>
</context>
<context>
    <name>ReceivePanel</name>
    <message>
        <source>Receive Settings</source>
        <translation>接收设置</translation>
    </message>
    <message>
        <source>Auto feed ending</source>
        <translation>自动换行</translation>
    </message>
    <message>
        <source>Display Time</source>
        <translation>显示时间</translation>
    </message>
    <message>
        <source>Show received data as text</source>
        <translation>以文本显示接收数据</translation>
    </message>
    <message>
        <source>Show received data as hexadecimal bytes</source>
        <translation>以十六进制显示接收数据</translation>
    </message>
    <message>
        <source>Start a new line after an idle interval</source>
        <translation>空闲一段时间后换行</translation>
    </message>
    <message>
        <source>Prefix received data with a timestamp</source>
        <translation>在接收数据前加时间戳</translation>
    </message>
    <message>
        <source>Encoding of received data</source>
        <translation>接收数据的编码</translation>
    </message>
    <message>
        <source>The encoding that received bytes are read with</source>
        <translation>读取接收字节所用的编码</translation>
    </message>
    <message>
        <source> ms</source>
        <translation> ms</translation>
    </message>
    <message>
        <source>Minimal interval that starts a new line, in milliseconds</source>
        <translation>触发换行的最小间隔（毫秒）</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>格式</translation>
    </message>
    <message>
        <source>Encoding</source>
        <translation>编码</translation>
    </message>
    <message>
        <source>   Minimal Interval:</source>
        <translation>   最小间隔：</translation>
    </message>
</context>
<context>
    <name>ReceivePipeline</name>
    <message>
        <source>The view is paused and %1 of received data wait. Reading stops until it is resumed.</source>
        <translation>显示已暂停，有 %1 的接收数据等待显示。继续显示之前不再读取数据。</translation>
    </message>
    <message>
        <source>%1 that passed a bridge are missing here: they came faster than they could be shown.</source>
        <translation>此处缺少经过桥接的 %1：来得比显示更快。</translation>
    </message>
</context>
<context>
    <name>ReceiveView</name>
    <message>
        <source>Received data</source>
        <translation>接收数据</translation>
    </message>
    <message>
        <source>Keys typed here are sent to the device. Ctrl+Tab moves on to the next control.</source>
        <translation>在此输入的按键会发送到设备。按 Ctrl+Tab 移到下一个控件。</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>复制(&amp;C)</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>粘贴(&amp;P)</translation>
    </message>
    <message>
        <source>Select &amp;All</source>
        <translation>全选(&amp;A)</translation>
    </message>
    <message>
        <source>&amp;Find...</source>
        <translation>查找(&amp;F)...</translation>
    </message>
    <message>
        <source>&amp;Save As...</source>
        <translation>另存为(&amp;S)...</translation>
    </message>
    <message>
        <source>C&amp;lear</source>
        <translation>清空(&amp;L)</translation>
    </message>
    <message>
        <source>&amp;Wrap Lines</source>
        <translation>自动折行(&amp;W)</translation>
    </message>
    <message>
        <source>Copy as &amp;Bytes</source>
        <translation>复制为字节(&amp;B)</translation>
    </message>
</context>
<context>
    <name>RemoteLineDriver</name>
    <message>
        <source>The remote port is left under its own configuration. Clear &quot;Keep the remote port&apos;s own config&quot; to drive RTS, DTR and Break from here.</source>
        <translation>远程端口保持其自身的配置。取消“保留远程端口自身的配置”后，可在此控制 RTS、DTR 和 Break。</translation>
    </message>
    <message>
        <source>Click to send a Break to the remote port (hold for longer)</source>
        <translation>点击向远程端口发送 Break（按住可延长）</translation>
    </message>
    <message>
        <source>Asked the remote port for %1 %2; the lamp turns green when the server confirms it.</source>
        <translation>已请求远程端口将 %1 设为%2；服务器确认后指示灯变绿。</translation>
    </message>
    <message>
        <source>The remote peer did not accept RFC 2217 com-port control, so %1 cannot be set from here.</source>
        <translation>远程对端未接受 RFC 2217 串口控制，因此无法在此设置 %1。</translation>
    </message>
    <message>
        <source>The remote peer did not accept RFC 2217 com-port control, so Break cannot be sent.</source>
        <translation>远程对端未接受 RFC 2217 串口控制，因此无法发送 Break。</translation>
    </message>
    <message>
        <source>Sent Break to the remote port; it is released when you let go.</source>
        <translation>已向远程端口发送 Break；松开后解除。</translation>
    </message>
    <message>
        <source>Could not send Break: the connection is not open.</source>
        <translation>无法发送 Break：连接未打开。</translation>
    </message>
    <message>
        <source>The remote port has not answered yet; it is asked for %1 %2 as soon as it does.</source>
        <translation>远程端口尚未应答；应答后将立即请求 %1 %2。</translation>
    </message>
    <message>
        <source>The connection is not open; the remote port is asked for %1 %2 when it is.</source>
        <translation>连接未打开；打开后将请求远程端口 %1 %2。</translation>
    </message>
    <message>
        <source>The remote port has not answered yet; Break cannot be sent before it does.</source>
        <translation>远程端口尚未应答；在应答之前无法发送 Break。</translation>
    </message>
</context>
<context>
    <name>Rfc2217ClientSession</name>
    <message>
        <source>The remote port accepted serial parameter control.</source>
        <translation>远程端口已接受串口参数控制。</translation>
    </message>
    <message>
        <source>The remote does not support serial parameter control; continuing as plain Telnet.</source>
        <translation>远程端不支持串口参数控制；将以普通 Telnet 继续。</translation>
    </message>
    <message>
        <source>The remote is not an RFC 2217 server; continuing as transparent TCP. The handshake bytes may have reached the remote serial line.</source>
        <translation>远程端不是 RFC 2217 服务器；将以透明 TCP 继续。握手字节可能已到达远程串行线路。</translation>
    </message>
    <message>
        <source>The remote port is now at %1 baud.</source>
        <translation>远程端口当前波特率为 %1。</translation>
    </message>
    <message>
        <source>Remote baudrate</source>
        <translation>远程波特率</translation>
    </message>
    <message>
        <source>Remote data bits</source>
        <translation>远程数据位</translation>
    </message>
    <message>
        <source>Remote parity</source>
        <translation>远程校验位</translation>
    </message>
    <message>
        <source>Remote stop bits</source>
        <translation>远程停止位</translation>
    </message>
    <message>
        <source>Remote flow control</source>
        <translation>远程流控</translation>
    </message>
</context>
<context>
    <name>Rfc2217Transport</name>
    <message>
        <source>The connection to %1 ended with %2 bytes not sent.</source>
        <translation>与 %1 的连接已结束，有 %2 字节未发送。</translation>
    </message>
    <message>
        <source>%1 bytes were not sent: the connection ended before the remote port answered</source>
        <translation>%1 字节未发送：连接在远程端口应答之前已结束</translation>
    </message>
    <message>
        <source>There is nothing to send.</source>
        <translation>没有要发送的内容。</translation>
    </message>
    <message>
        <source>There is no connection to the remote port.</source>
        <translation>没有到远程端口的连接。</translation>
    </message>
    <message>
        <source>%1: the remote port does not read; it was not asked for the change</source>
        <translation>%1：远程端口没有读取，未向其请求更改</translation>
    </message>
</context>
<context>
    <name>SendEditor</name>
    <message>
        <source>Clear History</source>
        <translation>清空历史</translation>
    </message>
    <message>
        <source>&amp;Send</source>
        <translation>发送(&amp;S)</translation>
    </message>
    <message>
        <source>Type a message; Ctrl+Enter sends it</source>
        <translation>输入消息；按 Ctrl+Enter 发送</translation>
    </message>
    <message>
        <source>Message to send</source>
        <translation>要发送的消息</translation>
    </message>
    <message>
        <source>Messages sent before</source>
        <translation>已发送的消息</translation>
    </message>
    <message>
        <source>Messages sent before, newest first</source>
        <translation>已发送的消息，最新的在前</translation>
    </message>
    <message>
        <source>Nothing sent yet</source>
        <translation>尚未发送</translation>
    </message>
    <message>
        <source>Empty the message and the list of messages sent before</source>
        <translation>清空消息和已发送消息列表</translation>
    </message>
    <message>
        <source>Send the message (Ctrl+Enter)</source>
        <translation>发送消息（Ctrl+Enter）</translation>
    </message>
    <message>
        <source>H&amp;istory</source>
        <translation>历史(&amp;I)</translation>
    </message>
    <message>
        <source>Bytes to send</source>
        <translation>待发送字节数</translation>
    </message>
    <message>
        <source>What is marked is no hexadecimal digit: it is sent as 0 or, at the end, dropped</source>
        <translation>标出的字符不是十六进制数字：按 0 发送，位于末尾时则丢弃</translation>
    </message>
    <message>
        <source>%1 B</source>
        <translation>%1 B</translation>
    </message>
    <message>
        <source>Bytes that go out with Send, line ending and checksum included: %1</source>
        <translation>按“发送”后发出的字节数（含行尾和校验和）：%1</translation>
    </message>
</context>
<context>
    <name>SendModes</name>
    <message>
        <source>None</source>
        <translation>无</translation>
    </message>
    <message>
        <source>CR (\r)</source>
        <translation>CR (\r)</translation>
    </message>
    <message>
        <source>LF (\n)</source>
        <translation>LF (\n)</translation>
    </message>
    <message>
        <source>CR &amp; LF (\r\n)</source>
        <translation>CR &amp; LF (\r\n)</translation>
    </message>
    <message>
        <source>LR &amp; CR (\n\r)</source>
        <translation>LF &amp; CR (\n\r)</translation>
    </message>
    <message>
        <source>LF &amp; CR (\n\r)</source>
        <translation>LF &amp; CR (\n\r)</translation>
    </message>
    <message>
        <source>Checksum-8 (SUM)</source>
        <translation>8 位校验和 (SUM)</translation>
    </message>
    <message>
        <source>XOR (BCC)</source>
        <translation>异或校验 (BCC)</translation>
    </message>
    <message>
        <source>CRC-8</source>
        <translation>CRC-8</translation>
    </message>
    <message>
        <source>CRC-16/MODBUS</source>
        <translation>CRC-16/MODBUS</translation>
    </message>
    <message>
        <source>CRC-32</source>
        <translation>CRC-32</translation>
    </message>
</context>
<context>
    <name>SendPanel</name>
    <message>
        <source>Send Settings</source>
        <translation>发送设置</translation>
    </message>
    <message>
        <source>Tidy hex input</source>
        <translation>整理十六进制输入</translation>
    </message>
    <message>
        <source>Loop </source>
        <translation>循环 </translation>
    </message>
    <message>
        <source>Line by Line</source>
        <translation>逐行发送</translation>
    </message>
    <message>
        <source>Display Send</source>
        <translation>显示发送</translation>
    </message>
    <message>
        <source>Local Echo</source>
        <translation>本地回显</translation>
    </message>
    <message>
        <source>Send the input as text</source>
        <translation>以文本发送输入内容</translation>
    </message>
    <message>
        <source>Send the input as hexadecimal bytes; what follows // is a comment</source>
        <translation>以十六进制发送输入内容；// 之后为注释</translation>
    </message>
    <message>
        <source>Encoding of sent text</source>
        <translation>发送文本的编码</translation>
    </message>
    <message>
        <source>Rewrite the input as pairs of upper-case digits when sending</source>
        <translation>发送时将输入整理为成对的大写数字</translation>
    </message>
    <message>
        <source>Resend automatically at an interval</source>
        <translation>按间隔自动重复发送</translation>
    </message>
    <message>
        <source>Send multi-line input line by line</source>
        <translation>将多行输入逐行发送</translation>
    </message>
    <message>
        <source>Ending appended to each send</source>
        <translation>每次发送后追加的换行符</translation>
    </message>
    <message>
        <source>Checksum appended to each send</source>
        <translation>每次发送后追加的校验值</translation>
    </message>
    <message>
        <source>Bytes sent when Enter is pressed in the receive terminal</source>
        <translation>在接收终端中按回车键时发送的字节</translation>
    </message>
    <message>
        <source>Echo sent data in the display</source>
        <translation>在显示区显示发送的数据</translation>
    </message>
    <message>
        <source>Echo keys typed into the receive terminal</source>
        <translation>回显在接收终端中输入的字符</translation>
    </message>
    <message>
        <source>Format</source>
        <translation>格式</translation>
    </message>
    <message>
        <source>Encoding</source>
        <translation>编码</translation>
    </message>
    <message>
        <source>Append Line Ending</source>
        <translation>追加换行符</translation>
    </message>
    <message>
        <source>Append Checksum</source>
        <translation>追加校验</translation>
    </message>
    <message>
        <source>Enter Sends</source>
        <translation>回车键发送</translation>
    </message>
    <message>
        <source>The encoding that typed text is sent in</source>
        <translation>发送所输入文本时使用的编码</translation>
    </message>
    <message>
        <source>Repeat interval</source>
        <translation>重复间隔</translation>
    </message>
    <message>
        <source>Unit of the repeat interval</source>
        <translation>重复间隔的单位</translation>
    </message>
    <message>
        <source>x %1 ms</source>
        <translation>x %1 毫秒</translation>
    </message>
</context>
<context>
    <name>SerialLineRows</name>
    <message>
        <source>The rate stays at %1. Enter a number from 1 to 100000000.</source>
        <translation>波特率仍为 %1。请输入 1 到 100000000 之间的数字。</translation>
    </message>
    <message>
        <source>DTR</source>
        <translation>DTR</translation>
    </message>
    <message>
        <source>RTS</source>
        <translation>RTS</translation>
    </message>
    <message>
        <source>Bits per second; a rate that is not in the list can be typed</source>
        <translation>每秒位数；列表中没有的速率可直接输入</translation>
    </message>
    <message>
        <source>Set the DTR output now, or apply it when the port opens</source>
        <translation>立即设置 DTR 输出，或在打开端口时应用</translation>
    </message>
    <message>
        <source>Set the RTS output now, or apply it when the port opens</source>
        <translation>立即设置 RTS 输出，或在打开端口时应用</translation>
    </message>
    <message>
        <source>Baudrate</source>
        <translation>波特率</translation>
    </message>
    <message>
        <source>Data Bits</source>
        <translation>数据位</translation>
    </message>
    <message>
        <source>Flow Type</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>Stop Bits</source>
        <translation>停止位</translation>
    </message>
    <message>
        <source>Parity</source>
        <translation>校验位</translation>
    </message>
    <message>
        <source>Outputs</source>
        <translation>输出</translation>
    </message>
</context>
<context>
    <name>SerialOpenAdvice</name>
    <message>
        <source>You are not permitted to use %1. Ask whoever administers this computer for read and write access to it.</source>
        <translation>您没有使用 %1 的权限。请向本计算机的管理员申请对它的读写权限。</translation>
    </message>
    <message>
        <source>You are not permitted to use %1: it belongs to the group &quot;%2&quot;. Join the group with &quot;sudo usermod -aG %2 $USER&quot;, then sign out and in again.</source>
        <translation>您没有使用 %1 的权限：它属于用户组“%2”。请执行 &quot;sudo usermod -aG %2 $USER&quot; 加入该组，然后注销并重新登录。</translation>
    </message>
    <message>
        <source>There is no device %1. Check that it is plugged in and that the name is right.</source>
        <translation>没有设备 %1。请检查设备是否已插好以及名称是否正确。</translation>
    </message>
    <message>
        <source>%1 is not a serial port, or it does not offer what was asked of it. Choose another port.</source>
        <translation>%1 不是串口，或不支持所要求的功能。请选择其他端口。</translation>
    </message>
    <message>
        <source>Another program has %1 open. Close the port there, then open it again.</source>
        <translation>%1 已被其他程序打开。请先在该程序中关闭端口，再重新打开。</translation>
    </message>
    <message>
        <source>The device does not respond. Unplug it, plug it in again and open the port once more.</source>
        <translation>设备没有响应。请拔下设备后重新插入，再次打开端口。</translation>
    </message>
</context>
<context>
    <name>SerialPortWidget</name>
    <message>
        <source>The connection is closed: what you typed was not sent</source>
        <translation>连接已关闭：输入的内容未发送</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>另存为</translation>
    </message>
    <message>
        <source>Text files (*.txt *.log)</source>
        <translation>文本文件 (*.txt *.log)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>所有文件 (*)</translation>
    </message>
    <message>
        <source>The last message has not left yet: repetitions wait for it</source>
        <translation>上一条消息尚未发出：重复发送正在等待</translation>
    </message>
    <message>
        <source>A save is still running</source>
        <translation>仍在保存中</translation>
    </message>
    <message>
        <source>File saved</source>
        <translation>文件已保存</translation>
    </message>
    <message>
        <source>A file transfer is running on this port. Closing it ends the transfer.</source>
        <translation>此端口正在传输文件。关闭端口会终止传输。</translation>
    </message>
    <message>
        <source>&amp;Close Port</source>
        <translation>关闭端口(&amp;C)</translation>
    </message>
</context>
<context>
    <name>SerialTransport</name>
    <message>
        <source>the baud rate</source>
        <translation>波特率</translation>
    </message>
    <message>
        <source>the data bits</source>
        <translation>数据位</translation>
    </message>
    <message>
        <source>the parity</source>
        <translation>校验位</translation>
    </message>
    <message>
        <source>the stop bits</source>
        <translation>停止位</translation>
    </message>
    <message>
        <source>the flow control</source>
        <translation>流控</translation>
    </message>
    <message>
        <source>Break</source>
        <translation>Break</translation>
    </message>
    <message>
        <source>Serial Port %1 OPEN SUCCESS</source>
        <translation>串口 %1 打开成功</translation>
    </message>
    <message>
        <source>Serial Port %1 did not accept %2</source>
        <translation>串口 %1 不接受%2</translation>
    </message>
    <message>
        <source>Serial Port %1 OPEN FAILED! ERROR: </source>
        <translation>串口 %1 打开失败！错误： </translation>
    </message>
    <message>
        <source>Serial Port %1 CLOSE SUCCESS</source>
        <translation>串口 %1 关闭成功</translation>
    </message>
    <message>
        <source>Serial Port %1 CLOSE FAILED</source>
        <translation>串口 %1 关闭失败</translation>
    </message>
    <message numerus="yes">
        <source>Serial Port %1 was closed with %n byte(s) not sent.</source>
        <translation>
            <numerusform>串口 %1 已关闭，有 %n 字节未发送。</numerusform>
        </translation>
    </message>
    <message>
        <source>There is nothing to send.</source>
        <translation>没有要发送的内容。</translation>
    </message>
    <message>
        <source>The serial port is not open.</source>
        <translation>串口未打开。</translation>
    </message>
    <message>
        <source>Serial Port %1: the line changed with %2 bytes not sent yet</source>
        <translation>串口 %1：更改线路参数时仍有 %2 字节未发送</translation>
    </message>
    <message>
        <source>RTS is managed automatically by RTS/CTS flow control</source>
        <translation>RTS 由 RTS/CTS 流控自动管理</translation>
    </message>
    <message>
        <source>Failed to set %1: %2</source>
        <translation>设置 %1 失败：%2</translation>
    </message>
    <message>
        <source>Serial Port %1: %2 received bytes were dropped because nobody read them</source>
        <translation>串口 %1：%2 个接收字节因无人读取而被丢弃</translation>
    </message>
    <message>
        <source>Serial Port %1 DISCONNECTED</source>
        <translation>串口 %1 已断开</translation>
    </message>
</context>
<context>
    <name>SessionDocument</name>
    <message>
        <source>Velmora files (*.vmr)</source>
        <translation>Velmora 文件 (*.vmr)</translation>
    </message>
    <message>
        <source>The document has been modified.
Do you want to save your changes?</source>
        <translation>文档已修改。
是否保存更改？</translation>
    </message>
    <message>
        <source>Open Velmora</source>
        <translation>打开 Velmora 文件</translation>
    </message>
    <message>
        <source>The session %1 was not opened.</source>
        <translation>会话 %1 未打开。</translation>
    </message>
    <message>
        <source>The session %1 was opened in part.</source>
        <translation>会话 %1 只打开了一部分。</translation>
    </message>
    <message>
        <source>Save Velmora</source>
        <translation>保存 Velmora 文件</translation>
    </message>
    <message>
        <source>%1 already exists.
Do you want to replace it?</source>
        <translation>%1 已存在。
是否替换？</translation>
    </message>
    <message>
        <source>File saved</source>
        <translation>文件已保存</translation>
    </message>
    <message>
        <source>Saving FAILED</source>
        <translation>保存失败</translation>
    </message>
</context>
<context>
    <name>SessionFile</name>
    <message>
        <source>It would take %1, and a session has at most %2. Long texts in the send histories are the usual reason; clear them and try again.</source>
        <translation>它将占用 %1，而会话最多为 %2。通常是发送历史中的长文本所致；请清空后重试。</translation>
    </message>
    <message>
        <source>It is a folder or a device, not a file.</source>
        <translation>它是文件夹或设备，不是文件。</translation>
    </message>
    <message>
        <source>It cannot be read: %1.</source>
        <translation>无法读取：%1。</translation>
    </message>
    <message>
        <source>It is larger than any session: %1.</source>
        <translation>它大于任何会话文件：%1。</translation>
    </message>
    <message>
        <source>The temporary folder %1 has no room: %2.</source>
        <translation>临时文件夹 %1 空间不足：%2。</translation>
    </message>
    <message>
        <source>the session was cut short</source>
        <translation>会话内容被截断</translation>
    </message>
    <message>
        <source>It could not be written: %1.</source>
        <translation>无法写入：%1。</translation>
    </message>
    <message>
        <source>The file does not exist.</source>
        <translation>文件不存在。</translation>
    </message>
    <message>
        <source>It cannot be read.</source>
        <translation>无法读取。</translation>
    </message>
    <message>
        <source>It is not a session file of this program.</source>
        <translation>它不是本程序的会话文件。</translation>
    </message>
    <message>
        <source>Parts of it are damaged. What could be read was opened; check the settings before you save.</source>
        <translation>部分内容已损坏。可读取的内容已打开；保存前请检查设置。</translation>
    </message>
</context>
<context>
    <name>SetConfigFilePathDialog</name>
    <message>
        <source>&amp;Folder for configuration files:</source>
        <translation>配置文件所在文件夹(&amp;F)：</translation>
    </message>
    <message>
        <source>&amp;Browse...</source>
        <translation>浏览(&amp;B)...</translation>
    </message>
    <message>
        <source>Choose the folder</source>
        <translation>选择文件夹</translation>
    </message>
    <message>
        <source>The folder %1 cannot be created. Choose a folder that you may write to.</source>
        <translation>无法创建文件夹 %1。请选择您有写入权限的文件夹。</translation>
    </message>
    <message>
        <source>Configuration Folder</source>
        <translation>配置文件夹</translation>
    </message>
</context>
<context>
    <name>SettingsDialog</name>
    <message>
        <source>Settings - %1</source>
        <translation>设置 - %1</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>连接</translation>
    </message>
    <message>
        <source>Receive</source>
        <translation>接收</translation>
    </message>
    <message>
        <source>Send</source>
        <translation>发送</translation>
    </message>
    <message>
        <source>Display</source>
        <translation>显示</translation>
    </message>
    <message>
        <source>Log</source>
        <translation>日志</translation>
    </message>
    <message>
        <source>Quick Settings</source>
        <translation>快捷设置</translation>
    </message>
    <message>
        <source>General</source>
        <translation>常规</translation>
    </message>
</context>
<context>
    <name>Sparkline</name>
    <message>
        <source>Last two minutes. Above the line: A to B. Below: B to A. Red bands mark seconds where data was dropped.</source>
        <translation>最近两分钟。线上方：A 到 B。下方：B 到 A。红色条带标出有数据被丢弃的秒。</translation>
    </message>
</context>
<context>
    <name>StoreWriter</name>
    <message>
        <source>%1 cannot be written.</source>
        <translation>%1 无法写入。</translation>
    </message>
    <message>
        <source>%1 cannot be written: %2.</source>
        <translation>%1 无法写入：%2。</translation>
    </message>
</context>
<context>
    <name>TcpClientTransport</name>
    <message>
        <source>There is nothing to send.</source>
        <translation>没有要发送的内容。</translation>
    </message>
    <message>
        <source>There is no TCP connection.</source>
        <translation>没有 TCP 连接。</translation>
    </message>
    <message>
        <source>The connection to %1 ended with %2 bytes not sent.</source>
        <translation>与 %1 的连接已结束，有 %2 字节未发送。</translation>
    </message>
    <message>
        <source>TCP connect FAILED: %1</source>
        <translation>TCP 连接失败：%1</translation>
    </message>
    <message>
        <source>%1 bytes that the TCP peer had sent were dropped: nobody read them</source>
        <translation>TCP 对端发来的 %1 字节因无人读取而被丢弃</translation>
    </message>
</context>
<context>
    <name>TcpServerTransport</name>
    <message>
        <source>Refused %1: %2</source>
        <translation>已拒绝 %1：%2</translation>
    </message>
    <message>
        <source>Disconnected %1: it does not read, %2 bytes did not reach it</source>
        <translation>已断开 %1：它不读取数据，有 %2 字节未送达</translation>
    </message>
    <message>
        <source>TCP port %1 can take no further client for now: %2</source>
        <translation>TCP 端口 %1 暂时无法接受更多客户端：%2</translation>
    </message>
    <message>
        <source>%1 left: %2 bytes did not reach it</source>
        <translation>%1 已离开：有 %2 字节未送达</translation>
    </message>
    <message>
        <source>%1 left: %2 bytes that it had sent were dropped, nobody read them</source>
        <translation>%1 已离开：它发来的 %2 字节因无人读取而被丢弃</translation>
    </message>
    <message>
        <source>TCP port %1</source>
        <translation>TCP 端口 %1</translation>
    </message>
    <message>
        <source>TCP listen on port %1 FAILED: %2</source>
        <translation>TCP 监听端口 %1 失败：%2</translation>
    </message>
    <message>
        <source>There is nothing to send.</source>
        <translation>没有要发送的内容。</translation>
    </message>
    <message>
        <source>The TCP server does not listen.</source>
        <translation>TCP 服务器未在监听。</translation>
    </message>
    <message>
        <source>%1 does not read: nothing was sent</source>
        <translation>%1 没有读取：未发送任何内容</translation>
    </message>
    <message>
        <source>No TCP client is connected: nothing was sent</source>
        <translation>没有已连接的 TCP 客户端：未发送任何数据</translation>
    </message>
    <message>
        <source>%1 is not connected: nothing was sent</source>
        <translation>%1 未连接：未发送任何内容</translation>
    </message>
</context>
<context>
    <name>TextFind</name>
    <message>
        <source>The expression takes too many steps</source>
        <translation>该表达式的匹配步数过多</translation>
    </message>
</context>
<context>
    <name>TextSaver</name>
    <message>
        <source>Cannot save &quot;%1&quot;: %2</source>
        <translation>无法保存“%1”：%2</translation>
    </message>
</context>
<context>
    <name>ToolBox</name>
    <message>
        <source>Toolbox</source>
        <translation>工具箱</translation>
    </message>
    <message>
        <source>C&amp;alculator</source>
        <translation>计算器(&amp;A)</translation>
    </message>
    <message>
        <source>C&amp;RC</source>
        <translation>CRC(&amp;R)</translation>
    </message>
</context>
<context>
    <name>Transport</name>
    <message>
        <source>%1: %2 bytes were not taken for sending, too much waits already</source>
        <translation>%1：%2 字节未被接受发送，等待发送的数据已过多</translation>
    </message>
    <message>
        <source>%1: %2 bytes in all were not taken for sending</source>
        <translation>%1：共有 %2 字节未被接受发送</translation>
    </message>
</context>
<context>
    <name>UdpTransport</name>
    <message>
        <source>UDP port %1</source>
        <translation>UDP 端口 %1</translation>
    </message>
    <message>
        <source>UDP bind to port %1 FAILED: %2</source>
        <translation>UDP 绑定端口 %1 失败：%2</translation>
    </message>
    <message>
        <source>%1 was closed with %2 bytes not sent: the address of their host was still being looked up.</source>
        <translation>%1 关闭时有 %2 字节未发送：仍在查找其主机地址。</translation>
    </message>
    <message>
        <source>More than %1 UDP peers: new ones are received but not listed</source>
        <translation>UDP 对端超过 %1 个：新对端的数据仍会接收，但不再列出</translation>
    </message>
    <message>
        <source>There is nothing to send.</source>
        <translation>没有要发送的内容。</translation>
    </message>
    <message>
        <source>The UDP port is not open.</source>
        <translation>UDP 端口未打开。</translation>
    </message>
    <message>
        <source>No UDP peer to reply to yet</source>
        <translation>尚无可回复的 UDP 对端</translation>
    </message>
    <message>
        <source>UDP host &quot;%1&quot; was not found: %2</source>
        <translation>未找到 UDP 主机“%1”：%2</translation>
    </message>
    <message>
        <source>%1 bytes were not sent.</source>
        <translation>%1 字节未发送。</translation>
    </message>
    <message>
        <source>UDP send to %1 FAILED: %2</source>
        <translation>UDP 发送到 %1 失败：%2</translation>
    </message>
</context>
<context>
    <name>WireTextCodecRegistry</name>
    <message>
        <source>This message cannot be encoded as %1. Change the encoding or edit the message.</source>
        <translation>此消息无法用 %1 编码。请更换编码或修改消息。</translation>
    </message>
    <message>
        <source>The character &apos;%1&apos; cannot be encoded as %2. Change the encoding or edit the message.</source>
        <translation>字符“%1”无法用 %2 编码。请更换编码或修改消息。</translation>
    </message>
</context>
<context>
    <name>XferFileSink</name>
    <message>
        <source>The folder %1 does not exist.</source>
        <translation>文件夹 %1 不存在。</translation>
    </message>
    <message>
        <source>%1 has %2 MB free but the file needs %3 MB. Choose another location.</source>
        <translation>%1 剩余 %2 MB，而文件需要 %3 MB。请选择其他位置。</translation>
    </message>
    <message>
        <source>Could not create %1: %2</source>
        <translation>无法创建 %1：%2</translation>
    </message>
    <message>
        <source>The file was not open.</source>
        <translation>文件未打开。</translation>
    </message>
    <message>
        <source>The file was received but could not be renamed to %1.</source>
        <translation>文件已收到，但无法重命名为 %1。</translation>
    </message>
</context>
<context>
    <name>XferFileSource</name>
    <message>
        <source>it is not a file</source>
        <translation>这不是文件</translation>
    </message>
    <message>
        <source>Could not open %1: %2</source>
        <translation>无法打开 %1：%2</translation>
    </message>
</context>
<context>
    <name>XmodemCodec</name>
    <message>
        <source>Cancelled.</source>
        <translation>已取消。</translation>
    </message>
    <message>
        <source>Gave up after %1 retries.</source>
        <translation>重试 %1 次后放弃。</translation>
    </message>
    <message>
        <source>The device cancelled the transfer.</source>
        <translation>设备取消了传输。</translation>
    </message>
    <message>
        <source>A block failed its checksum. YMODEM-G cannot ask for it again, so the transfer has failed.</source>
        <translation>有数据块校验失败。YMODEM-G 无法请求重发，因此传输失败。</translation>
    </message>
    <message>
        <source>Data kept failing its checksum. This is usually a baud rate mismatch or line noise.</source>
        <translation>数据持续校验失败，通常是波特率不匹配或线路噪声所致。</translation>
    </message>
    <message>
        <source>Block %1 arrived when block %2 was expected; the transfer is out of step.</source>
        <translation>收到数据块 %1，但应为数据块 %2；传输已失步。</translation>
    </message>
    <message>
        <source>The device sent a malformed file header.</source>
        <translation>设备发送的文件头格式错误。</translation>
    </message>
    <message>
        <source>The device offered a %1 byte file, which is over the receive limit.</source>
        <translation>设备要发送的文件为 %1 字节，超出接收上限。</translation>
    </message>
    <message>
        <source>Writing to disk failed.</source>
        <translation>写入磁盘失败。</translation>
    </message>
    <message>
        <source>Received %1 bytes without an end of transfer. XMODEM has no length field, so there is no way to tell when it should stop.</source>
        <translation>已接收 %1 字节，但未收到传输结束标志。XMODEM 没有长度字段，无法判断应在何处结束。</translation>
    </message>
    <message>
        <source>The data was received but could not be saved.</source>
        <translation>数据已接收，但无法保存。</translation>
    </message>
    <message>
        <source>The device did not start sending. Check that it is ready to send and that the baud rate matches.</source>
        <translation>设备未开始发送。请检查设备是否已准备好发送以及波特率是否匹配。</translation>
    </message>
    <message>
        <source>The device stopped sending. YMODEM-G cannot recover, so the transfer has failed.</source>
        <translation>设备停止发送。YMODEM-G 无法恢复，因此传输失败。</translation>
    </message>
    <message>
        <source>Could not create the destination file.</source>
        <translation>无法创建目标文件。</translation>
    </message>
    <message>
        <source>The device did not request the transfer. Check that it is waiting to receive and that the baud rate matches.</source>
        <translation>设备未请求传输。请检查设备是否在等待接收以及波特率是否匹配。</translation>
    </message>
    <message>
        <source>The device stopped responding. YMODEM-G has no retransmission, so the transfer has failed.</source>
        <translation>设备停止响应。YMODEM-G 没有重传机制，因此传输失败。</translation>
    </message>
    <message>
        <source>Could not read the file being sent.</source>
        <translation>无法读取正在发送的文件。</translation>
    </message>
    <message>
        <source>The file changed while it was being sent.</source>
        <translation>文件在发送过程中被更改。</translation>
    </message>
    <message>
        <source>The device reported an error. YMODEM-G cannot resend a block, so the transfer has been abandoned.</source>
        <translation>设备报告错误。YMODEM-G 无法重发数据块，因此传输已中止。</translation>
    </message>
</context>
</TS>
