<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja_JP">
    <context>
        <name>Body</name>
        <message>
            <source>Load image files (several at once) [Ctrl+O]</source>
            <translation>画像ファイルを読み込む（複数可） [Ctrl+O]</translation>
        </message>
        <message>
            <source>Load</source>
            <translation>読込</translation>
        </message>
        <message>
            <source>Save the S1 image, or every image ticked A, as 2dData files [Ctrl+S]. Ctrl+Q quits Zelmap</source>
            <translation>S1 の画像、または A に印を付けたすべての画像を 2dData ファイルとして保存 [Ctrl+S]。Ctrl+Q で Zelmap を終了</translation>
        </message>
        <message>
            <source>Save</source>
            <translation>保存</translation>
        </message>
        <message>
            <source>Single(S1)</source>
            <translation>単一(S1)</translation>
        </message>
        <message>
            <source>Selected(A)</source>
            <translation>選択(A)</translation>
        </message>
        <message>
            <source>Show Img Base</source>
            <translation>画像ベースを表示</translation>
        </message>
        <message>
            <source>Show the images as tabs of one window</source>
            <translation>画像を一つのウィンドウのタブとして表示</translation>
        </message>
        <message>
            <source>in Tab</source>
            <translation>タブ内</translation>
        </message>
        <message>
            <source>Show new images in grey</source>
            <translation>新しい画像をグレーで表示</translation>
        </message>
        <message>
            <source>Grey</source>
            <translation>グレー</translation>
        </message>
        <message>
            <source>Calc</source>
            <translation>演算</translation>
        </message>
        <message>
            <source>Copy</source>
            <translation>コピー</translation>
        </message>
        <message>
            <source>Composite (first 3 of Target A)</source>
            <translation>合成（ターゲット A の最初の 3 枚）</translation>
        </message>
        <message>
            <source>Filter</source>
            <translation>フィルタ</translation>
        </message>
        <message>
            <source>LCF A.</source>
            <translation>LCF 解析</translation>
        </message>
        <message>
            <source>Working at Line:</source>
            <translation>処理中の行:</translation>
        </message>
        <message>
            <source>Elapsed Time</source>
            <translation>経過時間</translation>
        </message>
        <message>
            <source>Load image files</source>
            <translation>画像ファイルの読込</translation>
        </message>
        <message>
            <source>2D Data File (*.zmp)</source>
            <translation>2D データファイル (*.zmp)</translation>
        </message>
        <message>
            <source>Any (* *.*)</source>
            <translation>すべて (* *.*)</translation>
        </message>
        <message>
            <source>Img File (*.png *.jpg)</source>
            <translation>画像ファイル (*.png *.jpg)</translation>
        </message>
        <message>
            <source>Cannot load %1: %2</source>
            <translation>%1 を読み込めません: %2</translation>
        </message>
        <message>
            <source>Loaded %1</source>
            <translation>%1 を読み込みました</translation>
        </message>
        <message>
            <source>Could not save %1</source>
            <translation>%1 を保存できませんでした</translation>
        </message>
        <message>
            <source>Saved %1</source>
            <translation>%1 を保存しました</translation>
        </message>
        <message>
            <source>Nothing saved: no image is chosen as S1</source>
            <translation>保存しませんでした: S1 に選ばれた画像がありません</translation>
        </message>
        <message>
            <source>Images (*.zmp *.tif *.tiff *.img *.dat *.txt *.png *.jpg *.jpeg)</source>
            <translation>画像 (*.zmp *.tif *.tiff *.img *.dat *.txt *.png *.jpg *.jpeg)</translation>
        </message>
        <message>
            <source>Tiff Files (*.tif *.tiff)</source>
            <translation>Tiff ファイル (*.tif *.tiff)</translation>
        </message>
        <message>
            <source>IMG Files (*.img)</source>
            <translation>IMG ファイル (*.img)</translation>
        </message>
        <message>
            <source>KWNB Files (*.dat)</source>
            <translation>KWNB ファイル (*.dat)</translation>
        </message>
        <message>
            <source>Text Matrix Files (*.txt)</source>
            <translation>テキスト行列ファイル (*.txt)</translation>
        </message>
        <message>
            <source>Picture Files (*.png *.jpg *.jpeg)</source>
            <translation>画像ファイル (*.png *.jpg *.jpeg)</translation>
        </message>
        <message>
            <source>%1 has no valid pixel (check the regions and the formula)</source>
            <translation>%1 には有効な画素がありません（領域と式を確認してください）</translation>
        </message>
        <message numerus="yes">
            <source>Saved %n file(s)</source>
            <translation>
                <numerusform>%n 個のファイルを保存しました</numerusform>
            </translation>
        </message>
        <message>
            <source>Open an LCF analysis window with a copy of the images ticked A</source>
            <translation>A に印を付けた画像の複製で LCF 解析ウィンドウを開く</translation>
        </message>
        <message>
            <source>LCF analysis: tick the images of the energy stack as A first</source>
            <translation>LCF 解析：先にエネルギー系列の画像に A の印を付けてください</translation>
        </message>
    </context>
    <context>
        <name>CalcCtrl</name>
        <message>
            <source>Calc. Ctrl</source>
            <translation>演算コントロール</translation>
        </message>
        <message>
            <source>Numerator(s)</source>
            <translation>分子</translation>
        </message>
        <message>
            <source>Sel. by A</source>
            <translation>A で選択</translation>
        </message>
        <message>
            <source>Denominator(s)</source>
            <translation>分母</translation>
        </message>
        <message>
            <source>Sel. by B</source>
            <translation>B で選択</translation>
        </message>
        <message>
            <source>Neg.</source>
            <translation>符号反転</translation>
        </message>
        <message>
            <source>Log</source>
            <translation>対数</translation>
        </message>
        <message>
            <source>Gen</source>
            <translation>生成</translation>
        </message>
    </context>
    <context>
        <name>CompositeCtrl</name>
        <message>
            <source>Composite Ctrl</source>
            <translation>合成コントロール</translation>
        </message>
        <message>
            <source>Image</source>
            <translation>画像</translation>
        </message>
        <message>
            <source>Low</source>
            <translation>下限</translation>
        </message>
        <message>
            <source>High</source>
            <translation>上限</translation>
        </message>
        <message>
            <source>R</source>
            <translation>R</translation>
        </message>
        <message>
            <source>G</source>
            <translation>G</translation>
        </message>
        <message>
            <source>B</source>
            <translation>B</translation>
        </message>
        <message>
            <source>Reset Ranges</source>
            <translation>範囲をリセット</translation>
        </message>
        <message>
            <source>Save...</source>
            <translation>保存...</translation>
        </message>
        <message>
            <source>Save composite picture</source>
            <translation>合成画像を保存</translation>
        </message>
        <message>
            <source>PNG Image (*.png)</source>
            <translation>PNG 画像 (*.png)</translation>
        </message>
        <message>
            <source>JPEG Image (*.jpg *.jpeg)</source>
            <translation>JPEG 画像 (*.jpg *.jpeg)</translation>
        </message>
        <message>
            <source>(black)</source>
            <translation>（黒）</translation>
        </message>
    </context>
    <context>
        <name>DataCtrl</name>
        <message>
            <source>Frame</source>
            <translation>フレーム</translation>
        </message>
        <message>
            <source>Show</source>
            <translation>表示</translation>
        </message>
        <message>
            <source>Target A</source>
            <translation>ターゲット A</translation>
        </message>
        <message>
            <source>A</source>
            <translation>A</translation>
        </message>
        <message>
            <source>Second operand S2</source>
            <translation>第二オペランド S2</translation>
        </message>
        <message>
            <source>S2</source>
            <translation>S2</translation>
        </message>
        <message>
            <source>Remove this image from the list</source>
            <translation>この画像を一覧から削除</translation>
        </message>
        <message>
            <source>Del</source>
            <translation>削除</translation>
        </message>
        <message>
            <source>First operand S1</source>
            <translation>第一オペランド S1</translation>
        </message>
        <message>
            <source>S1</source>
            <translation>S1</translation>
        </message>
        <message>
            <source>Target B</source>
            <translation>ターゲット B</translation>
        </message>
        <message>
            <source>B</source>
            <translation>B</translation>
        </message>
        <message>
            <source>Statistics of this image</source>
            <translation>この画像の統計</translation>
        </message>
        <message>
            <source>Statistics: %1</source>
            <translation>統計: %1</translation>
        </message>
        <message>
            <source>Size: %1 x %2
Min / max with zeros: %3 / %4
Min / max without zeros: %5 / %6
Display range: %7 to %8
Valid pixels: %9 of %10
Mean of valid pixels: %11
Standard deviation: %12</source>
            <translation>サイズ: %1 x %2
最小 / 最大（ゼロを含む）: %3 / %4
最小 / 最大（ゼロを除く）: %5 / %6
表示範囲: %7 ～ %8
有効ピクセル: %10 中 %9
有効ピクセルの平均: %11
標準偏差: %12</translation>
        </message>
    </context>
    <context>
        <name>FilterCtrl</name>
        <message>
            <source>Filter</source>
            <translation>フィルター</translation>
        </message>
        <message>
            <source>Adaptive Threshold</source>
            <translation>適応しきい値</translation>
        </message>
        <message>
            <source>Target: S1</source>
            <translation>対象: S1</translation>
        </message>
        <message>
            <source>Moving Avr.</source>
            <translation>移動平均</translation>
        </message>
        <message>
            <source>Matching</source>
            <translation>マッチング</translation>
        </message>
        <message>
            <source>CosTh</source>
            <translation>CosTh</translation>
        </message>
        <message>
            <source>ArcCosTh</source>
            <translation>ArcCosTh</translation>
        </message>
        <message>
            <source>Exec2</source>
            <translation>Exec2</translation>
        </message>
        <message>
            <source>Exec5</source>
            <translation>Exec5</translation>
        </message>
        <message>
            <source>Find Peaks</source>
            <translation>ピーク検出</translation>
        </message>
        <message>
            <source>Exc. Raius</source>
            <translation>除外半径</translation>
        </message>
        <message>
            <source>[pix]</source>
            <translation>[ピクセル]</translation>
        </message>
        <message>
            <source>Num:</source>
            <translation>個数:</translation>
        </message>
        <message>
            <source>Max</source>
            <translation>最大</translation>
        </message>
        <message>
            <source>Min</source>
            <translation>最小</translation>
        </message>
        <message>
            <source>on Img</source>
            <translation>画像上</translation>
        </message>
        <message>
            <source>Compare Peaks</source>
            <translation>ピーク比較</translation>
        </message>
        <message>
            <source>Target: A</source>
            <translation>対象: A</translation>
        </message>
        <message>
            <source>on Img S1</source>
            <translation>S1 画像上</translation>
        </message>
    </context>
    <context>
        <name>ImageCalc</name>
        <message>
            <source>Cl[%1]</source>
            <translation>Cl[%1]</translation>
        </message>
    </context>
    <context>
        <name>ImgBase</name>
        <message>
            <source>Zelmap Image Base</source>
            <translation>Zelmap 画像ベース</translation>
        </message>
        <message>
            <source>Tab 1</source>
            <translation>タブ 1</translation>
        </message>
        <message>
            <source>Tab 2</source>
            <translation>タブ 2</translation>
        </message>
    </context>
    <context>
        <name>ImgDisp</name>
        <message>
            <source>Frame</source>
            <translation>フレーム</translation>
        </message>
        <message>
            <source>Add</source>
            <translation>追加</translation>
        </message>
        <message>
            <source>Del</source>
            <translation>削除</translation>
        </message>
        <message>
            <source>Grey</source>
            <translation>グレー</translation>
        </message>
        <message>
            <source>Scale Reset</source>
            <translation>表示リセット</translation>
        </message>
        <message>
            <source>Show the whole image again (keys 0, Home). On the image: + / - zoom about the centre, Esc clears the region</source>
            <translation>画像全体を表示し直す（キー 0、Home）。画像上で + / - は中心を基準に拡大・縮小、Esc で領域を解除</translation>
        </message>
        <message>
            <source>1:1</source>
            <translation>1:1</translation>
        </message>
        <message>
            <source>Keep image pixels square, the image centred (configuration key SquarePixels)</source>
            <translation>画素を正方形に保ち、画像を中央に置く（設定キー SquarePixels）</translation>
        </message>
    </context>
    <context>
        <name>RelationDispCtrl</name>
        <message>
            <source>Relation Disp Ctrl</source>
            <translation>相関表示コントロール</translation>
        </message>
        <message>
            <source>Select Region</source>
            <translation>領域選択</translation>
        </message>
        <message>
            <source>Sector (w :</source>
            <translation>扇形 (幅 :</translation>
        </message>
        <message>
            <source>[deg])</source>
            <translation>[度])</translation>
        </message>
        <message>
            <source>Square</source>
            <translation>矩形</translation>
        </message>
        <message>
            <source>No</source>
            <translation>なし</translation>
        </message>
        <message>
            <source>Show</source>
            <translation>表示</translation>
        </message>
        <message>
            <source>Histogram</source>
            <translation>ヒストグラム</translation>
        </message>
        <message>
            <source>Scatter Map</source>
            <translation>散布図</translation>
        </message>
        <message>
            <source>Scale Reset</source>
            <translation>表示リセット</translation>
        </message>
        <message>
            <source>Make the mask of the selection a new image</source>
            <translation>選択した画素のマスクを新しい画像にします</translation>
        </message>
        <message>
            <source>Composite</source>
            <translation>マスク作成</translation>
        </message>
        <message>
            <source>Relation</source>
            <translation>相関</translation>
        </message>
        <message>
            <source>The relation map of S1 against S2 in a window of its own</source>
            <translation>S1 対 S2 の相関マップを別ウィンドウで表示します</translation>
        </message>
        <message>
            <source>S1 (%1 x %2) and S2 (%3 x %4) differ in size: the part both cover is used</source>
            <translation>S1 (%1 x %2) と S2 (%3 x %4) は大きさが異なります: 共通の部分を使います</translation>
        </message>
        <message>
            <source>S1: %1</source>
            <translation>S1: %1</translation>
        </message>
        <message>
            <source>S1</source>
            <translation>S1</translation>
        </message>
        <message>
            <source>S2: %1</source>
            <translation>S2: %1</translation>
        </message>
        <message>
            <source>S2</source>
            <translation>S2</translation>
        </message>
        <message numerus="yes">
            <source>%n pixel(s) selected</source>
            <translation>
                <numerusform>%n 画素を選択</numerusform>
            </translation>
        </message>
    </context>
    <context>
        <name>RelationDispCtrlOptions</name>
        <message>
            <source>Frame</source>
            <translation>フレーム</translation>
        </message>
        <message>
            <source>Histgram</source>
            <translation>ヒストグラム</translation>
        </message>
        <message>
            <source>ReDraw</source>
            <translation>再描画</translation>
        </message>
        <message>
            <source>Kernel HW</source>
            <translation>カーネル半幅</translation>
        </message>
        <message>
            <source>Boundary Value</source>
            <translation>境界値</translation>
        </message>
        <message>
            <source>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;MaxV := Peak Value of Histgram&lt;/p&gt;&lt;p&gt;V : Value of Histgram at a Point&lt;/p&gt;&lt;p&gt;C := Max Color Value (Typically 255)&lt;/p&gt;&lt;p&gt;R: = &amp;quot;Color Max. Range&amp;quot;&lt;/p&gt;&lt;p&gt;Color value c at a Point is calculated as :&lt;/p&gt;&lt;p&gt;c := V / ( MaxV * R ) * C ( if c &amp;gt; C =&amp;gt; c = C )W&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</source>
            <translation>&lt;html&gt;&lt;head/&gt;&lt;body&gt;&lt;p&gt;MaxV := ヒストグラムの最大値&lt;/p&gt;&lt;p&gt;V : ある点でのヒストグラムの値&lt;/p&gt;&lt;p&gt;C := 色の最大値 (通常 255)&lt;/p&gt;&lt;p&gt;R: = &amp;quot;色最大範囲&amp;quot;&lt;/p&gt;&lt;p&gt;ある点の色の値 c は次の式で求めます :&lt;/p&gt;&lt;p&gt;c := V / ( MaxV * R ) * C ( c &amp;gt; C なら c = C )&lt;/p&gt;&lt;/body&gt;&lt;/html&gt;</translation>
        </message>
        <message>
            <source>Color Max. Range</source>
            <translation>色最大範囲</translation>
        </message>
    </context>
    <context>
        <name>ComparePeaksF</name>
        <message>
            <source>CPKs(%2)</source>
            <translation>CPKs(%2)</translation>
        </message>
    </context>
    <context>
        <name>CopyCtrl</name>
        <message>
            <source>Copy</source>
            <translation>コピー</translation>
        </message>
        <message>
            <source>Region</source>
            <translation>領域</translation>
        </message>
        <message>
            <source>Target: S1 (its drawn region)</source>
            <translation>対象: S1（描いた領域）</translation>
        </message>
        <message>
            <source>Resize</source>
            <translation>リサイズ</translation>
        </message>
        <message>
            <source>Size</source>
            <translation>サイズ</translation>
        </message>
        <message>
            <source>x</source>
            <translation>x</translation>
        </message>
        <message>
            <source>Factor</source>
            <translation>倍率</translation>
        </message>
        <message>
            <source>Nearest</source>
            <translation>最近傍</translation>
        </message>
        <message>
            <source>Bilinear</source>
            <translation>双線形</translation>
        </message>
        <message>
            <source>Area mean</source>
            <translation>面積平均</translation>
        </message>
        <message>
            <source>Around Peaks</source>
            <translation>ピーク周辺</translation>
        </message>
        <message>
            <source>Cut</source>
            <translation>切出し</translation>
        </message>
        <message>
            <source>As found</source>
            <translation>検出順</translation>
        </message>
        <message>
            <source>By x, then y</source>
            <translation>x 順、次に y 順</translation>
        </message>
        <message>
            <source>By y, then x</source>
            <translation>y 順、次に x 順</translation>
        </message>
        <message>
            <source>By value (descending)</source>
            <translation>値の降順</translation>
        </message>
        <message>
            <source>Save...</source>
            <translation>保存...</translation>
        </message>
        <message>
            <source>Draw a region on S1 first.</source>
            <translation>先に S1 に領域を描いてください。</translation>
        </message>
        <message>
            <source>The region lies outside S1.</source>
            <translation>領域が S1 の外にあります。</translation>
        </message>
        <message>
            <source>S1 has no peak list.</source>
            <translation>S1 にピークリストがありません。</translation>
        </message>
        <message>
            <source>S1&apos;s peak list has %1 points; at most %2 cuts are made at a time.</source>
            <translation>S1 のピークリストには %1 点あります。一度に切り出せるのは %2 個までです。</translation>
        </message>
        <message>
            <source>%1 cuts of %2 x %3 exceed the limit of %4 pixels.</source>
            <translation>%2 x %3 の切出し %1 個は上限の %4 ピクセルを超えます。</translation>
        </message>
        <message>
            <source>No folder %1</source>
            <translation>フォルダ %1 がありません</translation>
        </message>
        <message>
            <source>Cannot write %1</source>
            <translation>%1 に書き込めません</translation>
        </message>
        <message numerus="yes">
            <source>Saved %n cut(s) in %1</source>
            <translation>
                <numerusform>%1 に %n 個の切出しを保存しました</numerusform>
            </translation>
        </message>
        <message>
            <source>Save the cuts into</source>
            <translation>切出しの保存先</translation>
        </message>
    </context>
    <context>
        <name>FindPeaksF</name>
        <message>
            <source>Peaks(%1)</source>
            <translation>Peaks(%1)</translation>
        </message>
        <message>
            <source>%1: PKs(%2)</source>
            <translation>%1: PKs(%2)</translation>
        </message>
    </context>
    <context>
        <name>PeakTable</name>
        <message>
            <source>Peaks</source>
            <translation>ピーク</translation>
        </message>
        <message>
            <source>No.</source>
            <translation>番号</translation>
        </message>
        <message>
            <source>x</source>
            <translation>x</translation>
        </message>
        <message>
            <source>y</source>
            <translation>y</translation>
        </message>
        <message>
            <source>Value</source>
            <translation>値</translation>
        </message>
        <message>
            <source>Copy</source>
            <translation>コピー</translation>
        </message>
        <message>
            <source>Save CSV...</source>
            <translation>CSV 保存...</translation>
        </message>
        <message>
            <source>Peaks of %1</source>
            <translation>%1 のピーク</translation>
        </message>
        <message numerus="yes">
            <source>Copied %n peak(s)</source>
            <translation>
                <numerusform>%n 個のピークをコピーしました</numerusform>
            </translation>
        </message>
        <message>
            <source>Saved %1</source>
            <translation>%1 を保存しました</translation>
        </message>
        <message>
            <source>Cannot write %1</source>
            <translation>%1 に書き込めません</translation>
        </message>
        <message>
            <source>Save CSV</source>
            <translation>CSV 保存</translation>
        </message>
        <message>
            <source>CSV File (*.csv)</source>
            <translation>CSV ファイル (*.csv)</translation>
        </message>
    </context>
    <context>
        <name>RecordCopy</name>
        <message>
            <source>%1: Cp(%2,%3,%4,%5)</source>
            <translation>%1: Cp(%2,%3,%4,%5)</translation>
        </message>
        <message>
            <source>%1: Pk[%2]</source>
            <translation>%1: Pk[%2]</translation>
        </message>
    </context>
    <context>
        <name>Resampler</name>
        <message>
            <source>The size %1 x %2 holds no pixel.</source>
            <translation>サイズ %1 x %2 にはピクセルがありません。</translation>
        </message>
        <message>
            <source>The size %1 x %2 exceeds the limit of %3 pixels.</source>
            <translation>サイズ %1 x %2 は上限の %3 ピクセルを超えます。</translation>
        </message>
        <message>
            <source>%1: Rs(%2,%3)</source>
            <translation>%1: Rs(%2,%3)</translation>
        </message>
    </context>
    <context>
        <name>LCFReference</name>
        <message>
            <source>at</source>
            <translation>at</translation>
        </message>
        <message>
            <source>Weight of this reference in the fit</source>
            <translation>フィットでのこの標準試料の重み</translation>
        </message>
        <message>
            <source>[eV]  </source>
            <translation>[eV]  </translation>
        </message>
        <message>
            <source>  dE [eV]</source>
            <translation>  dE [eV]</translation>
        </message>
        <message>
            <source>[%]  </source>
            <translation>[%]  </translation>
        </message>
        <message>
            <source>Energy shift of this reference in eV</source>
            <translation>この標準試料のエネルギーシフト（eV）</translation>
        </message>
        <message>
            <source>Edge jump of the spectrum</source>
            <translation>スペクトルのエッジジャンプ</translation>
        </message>
        <message>
            <source>mut</source>
            <translation>μt</translation>
        </message>
        <message>
            <source>dMut</source>
            <translation>Δμt</translation>
        </message>
        <message>
            <source>Edge energy E0 of the spectrum</source>
            <translation>スペクトルの吸収端エネルギー E0</translation>
        </message>
        <message>
            <source>Draw this spectrum in the plot</source>
            <translation>このスペクトルをグラフに描く</translation>
        </message>
        <message>
            <source>Show</source>
            <translation>表示</translation>
        </message>
        <message>
            <source>Victreen pre-edge and post-edge lines instead of straight lines</source>
            <translation>吸収端前後のベースラインを直線ではなく Victreen 式で引く</translation>
        </message>
        <message>
            <source>Victreen</source>
            <translation>Victreen</translation>
        </message>
        <message>
            <source>the file does not exist</source>
            <translation>ファイルがありません</translation>
        </message>
        <message>
            <source>not a plain file</source>
            <translation>通常のファイルではありません</translation>
        </message>
        <message>
            <source>the file cannot be read</source>
            <translation>ファイルを読めません</translation>
        </message>
        <message>
            <source>the file is too large for a spectrum</source>
            <translation>スペクトルとしては大きすぎるファイルです</translation>
        </message>
        <message>
            <source>no spectrum in the file</source>
            <translation>ファイルにスペクトルがありません</translation>
        </message>
        <message>
            <source>too few points to normalise</source>
            <translation>規格化するには点が少なすぎます</translation>
        </message>
        <message>
            <source>the normalisation finds no edge</source>
            <translation>規格化で吸収端が見つかりません</translation>
        </message>
        <message>
            <source>the normalisation gives values that are not numbers</source>
            <translation>規格化の結果に数でない値があります</translation>
        </message>
        <message>
            <source>not usable</source>
            <translation>使用不可</translation>
        </message>
        <message>
            <source>Not usable in a fit: %1</source>
            <translation>フィットに使えません：%1</translation>
        </message>
    </context>
    <context>
        <name>LcfA</name>
        <message>
            <source>LCF Analysis</source>
            <translation>LCF 解析</translation>
        </message>
        <message>
            <source>Show Img Base</source>
            <translation>画像ベースを表示</translation>
        </message>
        <message>
            <source>Put the images of the stack in the order of their energies</source>
            <translation>系列の画像をエネルギーの順に並べる</translation>
        </message>
        <message>
            <source>Sort by Energy</source>
            <translation>エネルギー順</translation>
        </message>
        <message>
            <source>Add a row for one more reference spectrum</source>
            <translation>標準スペクトルの行を一つ追加</translation>
        </message>
        <message>
            <source>+ Reference</source>
            <translation>＋ 標準試料</translation>
        </message>
        <message>
            <source>LCFA %1 Images</source>
            <translation>LCFA %1 の画像</translation>
        </message>
        <message>
            <source>%1 of %2 images usable in a fit</source>
            <translation>%2 枚中 %1 枚がフィットに使用可能</translation>
        </message>
        <message>
            <source>Remove this reference</source>
            <translation>この標準試料を削除</translation>
        </message>
        <message>
            <source>%1 (E0 %2 eV, dE %3)</source>
            <translation>%1（E0 %2 eV、dE %3）</translation>
        </message>
        <message>
            <source>%1 (E0 %2 eV)</source>
            <translation>%1（E0 %2 eV）</translation>
        </message>
        <message>
            <source>Fit</source>
            <translation>フィット</translation>
        </message>
        <message>
            <source>Fit every pixel of the usable stack images with the references in use; the maps join the main window's list</source>
            <translation>使用可能な系列画像の全画素を使用中の標準試料でフィットし、得たマップをメインウィンドウの一覧に加える</translation>
        </message>
        <message>
            <source>non-negative</source>
            <translation>非負</translation>
        </message>
        <message>
            <source>free</source>
            <translation>制約なし</translation>
        </message>
        <message>
            <source>sum to one</source>
            <translation>合計 1</translation>
        </message>
        <message>
            <source>non-negative: weights &gt;= 0; free: any sign; sum to one: weights &gt;= 0 adding up to 1, for stacks already normalised</source>
            <translation>非負：重み ≥ 0、制約なし：符号は自由、合計 1：重み ≥ 0 で和が 1（規格化済みの系列向け）</translation>
        </message>
        <message>
            <source>Offset</source>
            <translation>オフセット</translation>
        </message>
        <message>
            <source>Fit a constant of any sign with the weights: the absorption of everything else in the pixel</source>
            <translation>符号自由の定数を重みと同時にフィット：画素内のほかのすべての吸収</translation>
        </message>
        <message>
            <source>Cancel</source>
            <translation>中止</translation>
        </message>
        <message>
            <source>%1 is %2 x %3, unlike %4 (%5 x %6)</source>
            <translation>%1 は %2 x %3 で、%4（%5 x %6）と大きさが違います</translation>
        </message>
        <message>
            <source>no reference is loaded with &quot;Use&quot; ticked</source>
            <translation>「Use」にチェックのある読込済みの標準試料がありません</translation>
        </message>
        <message>
            <source>Fit refused: %1</source>
            <translation>フィットできません：%1</translation>
        </message>
        <message>
            <source>Fitting %1 x %2 pixels at %3 energies...</source>
            <translation>%1 x %2 画素を %3 点のエネルギーでフィット中...</translation>
        </message>
        <message>
            <source>Fit cancelled: nothing added</source>
            <translation>フィットを中止しました：何も追加していません</translation>
        </message>
        <message>
            <source>%1 %2 %</source>
            <translation>%1 %2 %</translation>
        </message>
        <message>
            <source>Fit done: %1 pixels valid in every image; mean fractions: %2</source>
            <translation>フィット完了：全画像で有効な画素 %1 個、平均分率：%2</translation>
        </message>
        <message>
            <source>pixel (%1, %2)</source>
            <translation>画素 (%1, %2)</translation>
        </message>
        <message>
            <source>Pixel (%1, %2): not valid in every image</source>
            <translation>画素 (%1, %2)：無効な画像があります</translation>
        </message>
        <message>
            <source>fit</source>
            <translation>フィット</translation>
        </message>
        <message>
            <source>%1 x %2</source>
            <translation>%1 × %2</translation>
        </message>
        <message>
            <source>Pixel (%1, %2): total %3, residual %4</source>
            <translation>画素 (%1, %2)：合計 %3、残差 %4</translation>
        </message>
    </context>
    <context>
        <name>LcfACtrl</name>
        <message>
            <source>LCFA Ctrl</source>
            <translation>LCFA 設定</translation>
        </message>
        <message>
            <source>Eng. [eV]</source>
            <translation>エネルギー [eV]</translation>
        </message>
        <message>
            <source>Photon energy of this image in eV</source>
            <translation>この画像の光子エネルギー（eV）</translation>
        </message>
        <message>
            <source>Not a number: this image is left out of a fit</source>
            <translation>数ではありません：この画像はフィットから外されます</translation>
        </message>
        <message>
            <source>An energy must be above 0 eV: this image is left out of a fit</source>
            <translation>エネルギーは 0 eV より大きくなければなりません：この画像はフィットから外されます</translation>
        </message>
        <message>
            <source>Another image has the same energy: both are left out of a fit</source>
            <translation>同じエネルギーの画像が他にあります：どちらもフィットから外されます</translation>
        </message>
    </context>
    <context>
        <name>SpectrumPlot</name>
        <message>
            <source>Reset Scale</source>
            <translation>表示範囲を戻す</translation>
        </message>
        <message>
            <source>Wheel: zoom, right drag: zoom to box, Shift+drag: pan, double click: all</source>
            <translation>ホイール：拡大縮小、右ドラッグ：範囲を拡大、Shift+ドラッグ：移動、ダブルクリック：全体</translation>
        </message>
        <message>
            <source>E = %1 eV, %2</source>
            <translation>E = %1 eV、%2</translation>
        </message>
        <message>
            <source>E [eV]</source>
            <translation>E [eV]</translation>
        </message>
        <message>
            <source>normalised mu</source>
            <translation>規格化 μ</translation>
        </message>
    </context>
    <context>
        <name>XafsFileSelect</name>
        <message>
            <source>XAFS File Select</source>
            <translation>XAFS ファイル選択</translation>
        </message>
        <message>
            <source>Use this reference in the fit</source>
            <translation>この標準試料をフィットに使う</translation>
        </message>
        <message>
            <source>Use</source>
            <translation>使用</translation>
        </message>
        <message>
            <source>Choose the reference spectrum file</source>
            <translation>標準スペクトルのファイルを選ぶ</translation>
        </message>
        <message>
            <source>Select</source>
            <translation>選択</translation>
        </message>
        <message>
            <source>Empty this reference</source>
            <translation>この標準試料を空にする</translation>
        </message>
        <message>
            <source>Clear</source>
            <translation>クリア</translation>
        </message>
        <message>
            <source>Select an XAFS spectrum</source>
            <translation>XAFS スペクトルを選択</translation>
        </message>
        <message>
            <source>XAFS Data File (*.dat)</source>
            <translation>XAFS データファイル (*.dat)</translation>
        </message>
        <message>
            <source>Any Files (* *.*)</source>
            <translation>すべてのファイル (* *.*)</translation>
        </message>
    </context>
    <context>
        <name>MovingAvrF</name>
        <message>
            <source>%1: MA(%2,%3)</source>
            <translation>%1: 移動平均(%2,%3)</translation>
        </message>
    </context>
    <context>
        <name>WinSizeSet</name>
        <message>
            <source>Frame</source>
            <translation>フレーム</translation>
        </message>
        <message>
            <source>Window Half Width</source>
            <translation>窓の半幅</translation>
        </message>
        <message>
            <source>X:</source>
            <translation>X:</translation>
        </message>
        <message>
            <source>Y:</source>
            <translation>Y:</translation>
        </message>
        <message>
            <source>Pix</source>
            <translation>ピクセル</translation>
        </message>
    </context>
    <context>
        <name>MatchingF</name>
        <message>
            <source>%1: PM</source>
            <translation>%1: PM</translation>
        </message>
    </context>
</TS>
